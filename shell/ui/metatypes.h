#pragma once

// Registers, in a fixed order, the value types that travel through queued signals and
// variants. Must run before the main window connects anything.
void registerMetaTypes();
