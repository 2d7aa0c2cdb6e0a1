#pragma once

#include <QVariant>

// Start-up steps that run before the main window exists.
void setApplicationIdentity();
// The "Last Used" start-up layout is chosen only by a stored integer greater than 0.
bool isLastUsedStartupLayout(const QVariant &storedOption);
bool readLastUsedStartupLayoutOption();
void storeStartupLayoutOption(int option);
