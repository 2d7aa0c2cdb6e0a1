// SPDX-License-Identifier: LGPL-3.0-or-later
#include "updater/core/updatercommands.h"

#include <QRegularExpression>

namespace UpdaterCommands {

QStringList arguments(Action action, const Options &options)
{
    if (action == Action::RefreshList)
        return {QStringLiteral("--list")};
    if (action == Action::RefreshListDetailed)
        return {QStringLiteral("--list-detailed")};

    // Without a selection the tool is pointed at the first device rather than at none.
    QStringList args{QStringLiteral("-d%1").arg(qMax(options.device, 0))};
    const QString image = QString::number(options.image);
    switch (action) {
    case Action::RefreshList:
    case Action::RefreshListDetailed:
        break;
    case Action::Identify:
        args << QStringLiteral("--identify");
        break;
    case Action::ShowMemoryLayout:
        args << QStringLiteral("--show-memory-layout");
        break;
    case Action::ListImages:
        args << QStringLiteral("--list-images");
        break;
    case Action::Reboot:
        args << QStringLiteral("-i") + image << QStringLiteral("-b");
        break;
    case Action::SetDefaultImage:
        args << QStringLiteral("--set-default-image=") + image;
        break;
    case Action::SetCandidateImage:
        args << QStringLiteral("--set-candidate-image=") + image;
        break;
    case Action::ConfirmCandidateImage:
        args << QStringLiteral("--confirm-candidate-image");
        break;
    case Action::EraseImage:
        args << QStringLiteral("-i") + image << QStringLiteral("-e");
        break;
    case Action::TestPrimary:
        args << QStringLiteral("--test-primary");
        break;
    case Action::TestSecondary:
        args << QStringLiteral("--test-secondary");
        break;
    case Action::GetDna:
        args << QStringLiteral("--get-dna");
        break;
    }
    if (options.i2c)
        args << QStringLiteral("--if=i2c");
    return args;
}

bool isRisky(Action action)
{
    return action == Action::ConfirmCandidateImage || action == Action::EraseImage;
}

bool writesDeviceList(Action action)
{
    return action == Action::RefreshList || action == Action::RefreshListDetailed;
}

QStringList parseDeviceList(const QString &listOutput)
{
    // Tool versions word their list differently; anything without a number and a text is noise.
    static const QRegularExpression line(
        QStringLiteral("^\\s*(?:device\\s*)?#?\\s*([0-9]+)\\s*[:-]\\s*(\\S.*)$"),
        QRegularExpression::CaseInsensitiveOption);
    QStringList entries;
    const QStringList lines = listOutput.split(QLatin1Char('\n'));
    for (const QString &text : lines) {
        const QRegularExpressionMatch match = line.match(text);
        if (match.hasMatch())
            entries << match.captured(1) + QStringLiteral(": ") + match.captured(2).trimmed();
    }
    return entries;
}

int deviceNumber(const QString &entry)
{
    static const QRegularExpression leading(QStringLiteral("^\\s*([0-9]+)"));
    const QRegularExpressionMatch match = leading.match(entry);
    if (!match.hasMatch())
        return -1;
    bool ok = false;
    const int number = match.captured(1).toInt(&ok);
    return ok ? number : -1;
}

QString deviceFamily(const QString &text)
{
    static const QRegularExpression separators(QStringLiteral("[^A-Za-z0-9]+"));
    static const QRegularExpression family(QStringLiteral("^VRX[0-9A-Z]*$"),
                                           QRegularExpression::CaseInsensitiveOption);
    const QStringList words = text.split(separators, Qt::SkipEmptyParts);
    for (const QString &word : words) {
        if (family.match(word).hasMatch())
            return word.toUpper();
    }
    return QString();
}

} // namespace UpdaterCommands
