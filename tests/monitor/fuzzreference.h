#pragma once

// What the fuzz targets compare the streaming command matcher with.
#include "monitor/core/vrxmonprotocol.h"

#include <string>
#include <vector>

// Commands found by walking the bytes with the plain rule: a byte that matches the next
// character of the awaited token advances, any other byte starts that token over. The text
// is cut as the matcher's fixed buffer cuts it.
inline std::vector<std::string> referenceCommands(const std::string &s)
{
    std::vector<std::string> out;
    const std::string open = "RunCmd(", close = ");";
    bool inside = false;
    std::size_t matched = 0, start = 0;
    for (std::size_t i = 0; i < s.size(); ++i) {
        const std::string &token = inside ? close : open;
        matched = s[i] == token[matched] ? matched + 1 : 0;
        if (matched < token.size())
            continue;
        matched = 0;
        if (!inside) {
            inside = true;
            start = i + 1;
            continue;
        }
        inside = false;
        std::string text = s.substr(start, i + 1 - start);
        if (text.size() > std::size_t(VrxProto::CmdMatcher::kCmdCapacity))
            text.resize(std::size_t(VrxProto::CmdMatcher::kCmdCapacity));
        else
            text.resize(text.size() - 2);
        const std::size_t nul = text.find('\0');
        if (nul != std::string::npos)
            text.resize(nul);
        out.push_back(text);
    }
    return out;
}
