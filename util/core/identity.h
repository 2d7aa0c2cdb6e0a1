// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

// The one identity every settings store of the program is opened under.
namespace Identity {
inline constexpr char Organization[] = "OKAV";
inline constexpr char Application[] = "vrxassist";
inline constexpr int VersionNumber = 20231;
} // namespace Identity
