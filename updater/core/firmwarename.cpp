// SPDX-License-Identifier: LGPL-3.0-or-later
#include "updater/core/firmwarename.h"

#include <QFileInfo>
#include <QRegularExpression>
#include <QStringList>

namespace {
// The tool refuses image descriptions longer than this.
constexpr int MaxDescriptionLength = 16;
} // namespace

FirmwareName parseFirmwareName(const QString &fileName)
{
    static const QRegularExpression separators(QStringLiteral("[_\\-.\\s]+"));
    static const QRegularExpression familyPart(QStringLiteral("^VRX[0-9A-Z]*$"),
                                               QRegularExpression::CaseInsensitiveOption);
    static const QRegularExpression descriptionPart(QStringLiteral("^(FW|[0-9]+(GS|CH|X|A|C))$"),
                                                    QRegularExpression::CaseInsensitiveOption);
    static const QRegularExpression versionPart(QStringLiteral("^(r|rev|v)?([0-9]+)$"),
                                                QRegularExpression::CaseInsensitiveOption);

    FirmwareName name;
    const QString baseName = QFileInfo(fileName).completeBaseName();
    const QStringList parts = baseName.split(separators, Qt::SkipEmptyParts);
    QStringList description;
    QString versionDigits;
    for (const QString &part : parts) {
        if (name.family.isEmpty() && familyPart.match(part).hasMatch())
            name.family = part.toUpper();
        if (descriptionPart.match(part).hasMatch())
            description << part.toUpper();
        const QRegularExpressionMatch version = versionPart.match(part);
        if (version.hasMatch())
            versionDigits = version.captured(2);
    }

    const QString joined = description.join(QLatin1Char('_'));
    if (joined.size() <= MaxDescriptionLength)
        name.description = joined;

    // The last number is the version; one too big for the tool is no version at all, rather
    // than a reason to fall back on an earlier number.
    bool ok = false;
    const qulonglong value = versionDigits.toULongLong(&ok);
    if (ok && value <= 4294967295ULL)
        name.version = QString::number(value);
    return name;
}
