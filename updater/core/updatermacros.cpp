// SPDX-License-Identifier: LGPL-3.0-or-later
#include "updater/core/updatermacros.h"

#include "resources/initresources.h"

#include <QFile>
#include <QFileInfo>
#include <QProcess>

namespace UpdaterMacros {

namespace {

const QString CustomLabel = QStringLiteral("Custom...");

// QProcess::splitCommand reads three double quotes as one quote character, in or out of a
// quoted group, so a value written this way comes back as one piece of the same word.
QString escapedQuotes(QString value)
{
    return value.replace(QLatin1Char('"'), QStringLiteral("\"\"\""));
}

QString trimmedEnd(const QString &text)
{
    int end = text.size();
    while (end > 0 && text.at(end - 1).isSpace())
        --end;
    return text.left(end);
}

} // namespace

const QStringList &toolNames()
{
    static const QStringList names{QStringLiteral("VRXUpdater"), QStringLiteral("VRXLicenseUtil")};
    return names;
}

QVector<UpdaterMacro> parseList(const QByteArray &text)
{
    QVector<UpdaterMacro> macros;
    const QList<QByteArray> lines = text.split('\n');
    for (QByteArray line : lines) {
        if (line.endsWith('\r'))
            line.chop(1);
        const QString entry = QString::fromUtf8(line);
        if (entry.trimmed().isEmpty())
            continue;
        const int semicolon = entry.indexOf(QLatin1Char(';'));
        if (semicolon < 0)
            continue; // a label without a command would pose as a second "Custom..."
        QString command = entry.mid(semicolon + 1);
        if (command.startsWith(QLatin1Char(' ')))
            command.remove(0, 1);
        macros.append({entry.left(semicolon).trimmed(), trimmedEnd(command)});
    }
    return macros;
}

QVector<UpdaterMacro> builtIn()
{
    static const QVector<UpdaterMacro> macros = [] {
        initResources();
        QFile file(QStringLiteral(":/res/updatermacrolist.txt"));
        if (!file.open(QIODevice::ReadOnly))
            return QVector<UpdaterMacro>();
        return parseList(file.readAll());
    }();
    return macros;
}

QString labelFor(const QString &command)
{
    if (command.isEmpty())
        return CustomLabel;
    for (const UpdaterMacro &macro : builtIn()) {
        if (macro.command == command)
            return macro.label;
    }
    return command;
}

bool needsImageInfo(const QString &command)
{
    return command.contains(QStringLiteral("%descr")) || command.contains(QStringLiteral("%ver"));
}

QString expand(const QString &command, const MacroValues &values)
{
    // One pass from left to right: a value is never scanned again, so a path that happens to
    // hold "%ver" stays as it is.
    const QPair<QString, QString> placeholders[] = {
        {QStringLiteral("%descr"), values.description}, {QStringLiteral("%dv"), values.device},
        {QStringLiteral("%fp"), values.filePath},       {QStringLiteral("%ver"), values.version},
        {QStringLiteral("%1"), values.filePath},
    };
    QString result;
    result.reserve(command.size());
    int pos = 0;
    while (pos < command.size()) {
        bool replaced = false;
        if (command.at(pos) == QLatin1Char('%')) {
            for (const auto &placeholder : placeholders) {
                if (command.midRef(pos).startsWith(placeholder.first)) {
                    result += escapedQuotes(placeholder.second);
                    pos += placeholder.first.size();
                    replaced = true;
                    break;
                }
            }
        }
        if (!replaced)
            result += command.at(pos++);
    }
    return result;
}

ToolCommand toToolCommand(const QString &expandedCommand)
{
    ToolCommand command;
    QStringList words = QProcess::splitCommand(expandedCommand);
    if (words.isEmpty() || !toolNames().contains(words.first())) {
        command.error = QStringLiteral("ERROR: No external tool specified in macro!\n");
        return command;
    }
    command.tool = words.takeFirst();
    command.arguments = words;
    return command;
}

QString familyCommand(const QString &family, const QString &filePath, int image, bool i2c)
{
    const QString suffix = QFileInfo(filePath).suffix().toLower();
    const QString name = family.toUpper();
    QString command;
    if (suffix == QLatin1String("mmcs") &&
        (name == QLatin1String("VRX7") || name == QLatin1String("VRX8"))) {
        command = QStringLiteral("VRXUpdater -d%dv --fpga=2 -eu --file=\"%fp\"");
    } else if (suffix == QLatin1String("zip") &&
               (name == QLatin1String("VRXSM") || name == QLatin1String("VRX3") ||
                name == QLatin1String("VRX3X"))) {
        command = QStringLiteral("VRXUpdater -d%dv --sysman -eu --file=\"%fp\"");
    } else {
        command = QStringLiteral("VRXUpdater -d%dv -i") + QString::number(image) +
                  QStringLiteral(" -eu --file=\"%fp\" --imagedescr %descr --imagerev %ver");
    }
    if (i2c)
        command += QStringLiteral(" --if=i2c");
    return command;
}

bool isValidDescription(const QString &description)
{
    if (description.isEmpty() || description.size() > 16)
        return false;
    for (const QChar c : description) {
        if (c.isSpace() || c == QLatin1Char('"') || c == QLatin1Char('\''))
            return false;
    }
    return true;
}

bool isValidVersion(const QString &version)
{
    if (version.isEmpty())
        return false;
    for (const QChar c : version) {
        if (c < QLatin1Char('0') || c > QLatin1Char('9'))
            return false;
    }
    bool ok = false;
    const qulonglong value = version.toULongLong(&ok);
    return ok && value <= 4294967295ULL;
}

} // namespace UpdaterMacros
