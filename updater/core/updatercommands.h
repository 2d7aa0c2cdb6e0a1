// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include <QString>
#include <QStringList>

// Command lines of the updater console tool for the device and image actions of the panel.
namespace UpdaterCommands {

enum class Action {
    RefreshList,
    RefreshListDetailed,
    Identify,
    ShowMemoryLayout,
    ListImages,
    Reboot,
    SetDefaultImage,
    SetCandidateImage,
    ConfirmCandidateImage,
    EraseImage,
    TestPrimary,
    TestSecondary,
    GetDna
};

struct Options
{
    int device = -1; // selected device number; none addresses device 0
    int image = 0;   // selected image index
    bool i2c = false;
};

// The tool's arguments for the action: the list commands take no device, every other
// command starts with "-d<n>" and ends with "--if=i2c" when the I2C option is set.
QStringList arguments(Action action, const Options &options);
// Commands that must be confirmed before they run (confirm candidate and erase).
bool isRisky(Action action);
// Whether the command's output is the device list.
bool writesDeviceList(Action action);

// One entry of the device selector per device line of the tool's list output, in order:
// lines such as "Device 0: VRX14 SN 01234" or "1: VRX7 ..." give "0: VRX14 SN 01234".
QStringList parseDeviceList(const QString &listOutput);
// The device number an entry of the selector (or a task's device column) starts with, or
// -1 when it names none (the placeholders "Choose Device", "Please Refresh", " - ").
int deviceNumber(const QString &entry);
// The family an entry or file name mentions: "VRX7", "VRX14", "VRXSM", "VRX3X"..., or empty.
QString deviceFamily(const QString &text);

} // namespace UpdaterCommands
