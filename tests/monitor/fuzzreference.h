#pragma once

// What the fuzz targets compare the streaming command matcher with.
#include "monitor/core/vrxmonprotocol.h"

#include <string>
#include <vector>

// Commands found by plain substring search, cut as the matcher's fixed buffer cuts them.
inline std::vector<std::string> referenceCommands(const std::string &s)
{
    std::vector<std::string> out;
    std::size_t pos = 0;
    for (;;) {
        const std::size_t open = s.find("RunCmd(", pos);
        if (open == std::string::npos)
            break;
        const std::size_t start = open + 7;
        const std::size_t close = s.find(");", start);
        if (close == std::string::npos)
            break;
        std::string text = s.substr(start, close - start);
        if (text.size() + 2 > std::size_t(VrxProto::CmdMatcher::kCmdCapacity))
            text = (text + ");").substr(0, std::size_t(VrxProto::CmdMatcher::kCmdCapacity));
        const std::size_t nul = text.find('\0');
        if (nul != std::string::npos)
            text.resize(nul);
        out.push_back(text);
        pos = close + 2;
    }
    return out;
}
