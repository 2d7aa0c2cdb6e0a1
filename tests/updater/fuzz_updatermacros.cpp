// SPDX-License-Identifier: LGPL-3.0-or-later
// libFuzzer target for firmware file names and task macros (expanded, split into the tool and
// its arguments, and read as macro list lines). Input: a file path, a line feed, a macro.
#include "tests/support/fuzzcheck.h"
#include "updater/core/firmwarename.h"
#include "updater/core/updatermacros.h"

#include <QFileInfo>
#include <QRegularExpression>
#include <QStringList>

#include <cstdint>
#include <cstdio>
#include <cstdlib>

// The built-in macro list is a compiled-in resource that nothing here reads.
void initResources() {}

namespace {

const QStringList Placeholders = {QStringLiteral("%descr"), QStringLiteral("%dv"),
                                  QStringLiteral("%fp"), QStringLiteral("%ver"),
                                  QStringLiteral("%1")};

bool isNameSeparator(QChar c)
{
    const ushort u = c.unicode();
    return u == '_' || u == '-' || u == '.' || u == ' ' || (u >= '\t' && u <= '\r');
}

// The last part that is a number, with or without "r", "rev" or "v", as a value of at most
// 32 bits without leading zeros; empty otherwise.
QString referenceVersion(const QString &fileName)
{
    static const QRegularExpression number(QStringLiteral("^(?:r|rev|v)?([0-9]+)\\z"));
    QString digits;
    QString part;
    const QString base = QFileInfo(fileName).completeBaseName() + QLatin1Char('_');
    for (const QChar c : base) {
        if (!isNameSeparator(c)) {
            part += c;
            continue;
        }
        const QRegularExpressionMatch match = number.match(part.toLower());
        if (match.hasMatch())
            digits = match.captured(1);
        part.clear();
    }
    quint64 value = 0;
    for (const QChar c : digits) {
        value = value * 10 + (c.unicode() - '0');
        if (value > 4294967295ULL)
            return QString();
    }
    return digits.isEmpty() ? QString() : QString::number(value);
}

bool isDescriptionPart(const QString &part)
{
    static const QRegularExpression unit(QStringLiteral("^(?:FW|[0-9]+(?:GS|CH|X|A|C))\\z"));
    return unit.match(part).hasMatch();
}

void checkName(const QString &path, const FirmwareName &name)
{
    check(name.family.isEmpty() ||
          (name.family.startsWith(QLatin1String("VRX")) && name.family == name.family.toUpper()));
    check(name.description.isEmpty() ||
          (name.description.size() <= 16 && UpdaterMacros::isValidDescription(name.description)));
    for (const QString &part : name.description.split(QLatin1Char('_'), Qt::SkipEmptyParts))
        check(isDescriptionPart(part));
    check(name.version.isEmpty() || UpdaterMacros::isValidVersion(name.version));
    check(name.version == referenceVersion(path));
}

// Values stand-ins that no command holds and that expand could not take for placeholders.
const QChar Markers[] = {QChar(0xe000), QChar(0xe001), QChar(0xe002), QChar(0xe003)};

void checkExpansion(const QString &command, const MacroValues &values)
{
    const QString expanded = UpdaterMacros::expand(command, values);
    for (const QChar m : Markers) {
        if (command.contains(m))
            return;
    }
    const MacroValues marked{Markers[0], Markers[1], Markers[2], Markers[3]};
    const QString shape = UpdaterMacros::expand(command, marked);
    // Every placeholder of the command is replaced, and nothing else.
    for (const QString &p : Placeholders)
        check(!shape.contains(p));
    if (!command.contains(QLatin1Char('%')))
        check(expanded == command);
    // The values go in as they are (quotes tripled) and are not looked at again.
    const auto quoted = [](QString value) {
        return value.replace(QLatin1Char('"'), QStringLiteral("\"\"\""));
    };
    QString rebuilt;
    for (const QChar c : shape) {
        if (c == Markers[0])
            rebuilt += quoted(values.device);
        else if (c == Markers[1])
            rebuilt += quoted(values.filePath);
        else if (c == Markers[2])
            rebuilt += quoted(values.description);
        else if (c == Markers[3])
            rebuilt += quoted(values.version);
        else
            rebuilt += c;
    }
    check(rebuilt == expanded);
}

// Blank-separated words, for a line without quotes.
QStringList words(const QString &line)
{
    QStringList out;
    QString word;
    for (const QChar c : line + QLatin1Char(' ')) {
        if (!c.isSpace()) {
            word += c;
        } else if (!word.isEmpty()) {
            out << word;
            word.clear();
        }
    }
    return out;
}

ToolCommand checkToolCommand(const QString &expanded)
{
    const ToolCommand tool = UpdaterMacros::toToolCommand(expanded);
    check(tool.tool.isEmpty() != tool.error.isEmpty());
    if (tool.tool.isEmpty()) {
        check(tool.arguments.isEmpty());
        return tool;
    }
    check(UpdaterMacros::toolNames().contains(tool.tool));
    for (const QString &a : tool.arguments)
        check(!a.isEmpty());
    if (!expanded.contains(QLatin1Char('"')))
        check(QStringList(tool.tool) + tool.arguments == words(expanded));
    return tool;
}

void checkList(const QByteArray &text)
{
    const QVector<UpdaterMacro> macros = UpdaterMacros::parseList(text);
    check(macros.size() <= text.count(';'));
    for (const UpdaterMacro &m : macros) {
        check(m.label == m.label.trimmed() && !m.label.contains(QLatin1Char('\n')));
        check(m.command.isEmpty() || !m.command.at(m.command.size() - 1).isSpace());
        check(!m.command.contains(QLatin1Char('\n')));
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char *>(data), int(size));
    const int lineEnd = bytes.indexOf('\n');
    const QString path = QString::fromUtf8(lineEnd < 0 ? bytes : bytes.left(lineEnd));
    const QByteArray macroBytes = lineEnd < 0 ? QByteArray() : bytes.mid(lineEnd + 1);
    const QString macro = QString::fromUtf8(macroBytes);

    const FirmwareName name = parseFirmwareName(path);
    checkName(path, name);

    MacroValues values;
    values.device = QString::number(size % 40);
    values.filePath = path;
    values.description = name.description;
    values.version = name.version;
    checkExpansion(macro, values);
    checkToolCommand(UpdaterMacros::expand(macro, values));
    checkList(macroBytes);

    // The command chosen from the family, and a list macro: the file reaches the tool as it
    // is, whatever its name holds.
    if (path.isEmpty())
        return 0;
    const QString family =
        UpdaterMacros::familyCommand(name.family, path, int(size % 4), size % 2 == 1);
    const ToolCommand image = checkToolCommand(UpdaterMacros::expand(family, values));
    check(image.tool == QLatin1String("VRXUpdater"));
    check(image.arguments.contains(QStringLiteral("--file=") + path));
    if (UpdaterMacros::isValidDescription(name.description) &&
        UpdaterMacros::isValidVersion(name.version) && family.contains(QLatin1String("%ver"))) {
        const int d = image.arguments.indexOf(QStringLiteral("--imagedescr"));
        const int v = image.arguments.indexOf(QStringLiteral("--imagerev"));
        check(d >= 0 && image.arguments.value(d + 1) == name.description);
        check(v >= 0 && image.arguments.value(v + 1) == name.version);
    }
    const ToolCommand erase = checkToolCommand(
        UpdaterMacros::expand(QStringLiteral("VRXUpdater eu %dv:1 \"%fp\""), values));
    check(erase.arguments ==
          QStringList({QStringLiteral("eu"), values.device + QStringLiteral(":1"), path}));
    const ToolCommand licence =
        checkToolCommand(UpdaterMacros::expand(QStringLiteral("VRXLicenseUtil \"%1\""), values));
    check(licence.tool == QLatin1String("VRXLicenseUtil") &&
          licence.arguments == QStringList(path));
    return 0;
}
