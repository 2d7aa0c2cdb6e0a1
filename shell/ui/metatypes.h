// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

// Registers, in a fixed order, the value types that travel through queued signals and
// variants. Must run before the main window connects anything.
void registerMetaTypes();
