// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QVector>

// Task macros: command lines with placeholders, from the macro list resource or typed.
struct UpdaterMacro
{
    QString label;
    QString command; // empty for "Custom..."
};

// What the placeholders of a macro stand for.
struct MacroValues
{
    QString device;      // "%dv": the device number
    QString filePath;    // "%fp" and "%1"
    QString description; // "%descr"
    QString version;     // "%ver"
};

// A macro turned into a tool and its arguments, or an error line for the console.
struct ToolCommand
{
    QString tool;      // "VRXUpdater" or "VRXLicenseUtil"; empty on error
    QStringList arguments;
    QString error;     // e.g. "ERROR: No external tool specified in macro!\n"
};

namespace UpdaterMacros {

// The tool names a macro may start with.
const QStringList &toolNames();
// Lines "label; command" ended by CR LF (a lone LF is taken too); blank lines are skipped.
QVector<UpdaterMacro> parseList(const QByteArray &text);
// The predefined macros from the program's resource ":/res/updatermacrolist.txt".
QVector<UpdaterMacro> builtIn();
// The label of a macro, or of the built-in macro with that command; the command itself when
// it is no built-in one.
QString labelFor(const QString &command);
// Whether the command uses the image description or version placeholders.
bool needsImageInfo(const QString &command);
// Replaces "%dv", "%fp", "%descr", "%ver" and "%1" with the values; a double quote in a value
// is written as three, which toToolCommand reads back as one ("%fp" stays one argument even
// when the file name holds quotes).
QString expand(const QString &command, const MacroValues &values);
// Splits an expanded command line (double quotes group words) and checks its first word
// names a known tool.
ToolCommand toToolCommand(const QString &expandedCommand);

// The command a task runs when it has no list macro: chosen from the device family and the
// file's suffix ("--fpga=2" for ".mmcs" of VRX7/VRX8, "--sysman" for ".zip" of VRXSM/VRX3,
// otherwise an image update of the selected image with "--imagedescr %descr --imagerev %ver"),
// with placeholders left in, plus " --if=i2c" when asked for.
QString familyCommand(const QString &family, const QString &filePath, int image, bool i2c);

// Checks a description or version given by the user: a description of 1 to 16 characters
// without blanks or quotes, a version that is a 32-bit unsigned decimal number.
bool isValidDescription(const QString &description);
bool isValidVersion(const QString &version);

} // namespace UpdaterMacros
