// SPDX-License-Identifier: LGPL-3.0-or-later
#include "shell/core/startup.h"

#include "util/core/identity.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QSettings>
#include <QString>
#include <QUrl>

namespace {
constexpr char StartupGroup[] = "MainWindowStartupLayoutOption";
constexpr char StartupKey[] = "StartupLayoutOption";
} // namespace

void setApplicationIdentity()
{
    QCoreApplication::setOrganizationName(QString::fromLatin1(Identity::Organization));
    QCoreApplication::setApplicationName(QString::fromLatin1(Identity::Application));
    QCoreApplication::setApplicationVersion(
        QStringLiteral("%1%2%3").arg(Identity::VersionNumber).arg(QString(), QString()));
}

bool isLastUsedStartupLayout(const QVariant &storedOption)
{
    bool isInteger = false;
    const int value = storedOption.toInt(&isInteger);
    return isInteger && value > 0;
}

bool readLastUsedStartupLayoutOption()
{
    QSettings settings(Identity::Organization, Identity::Application);
    settings.beginGroup(StartupGroup);
    return isLastUsedStartupLayout(settings.value(StartupKey));
}

void storeStartupLayoutOption(int option)
{
    QSettings settings(Identity::Organization, Identity::Application);
    settings.beginGroup(StartupGroup);
    settings.setValue(StartupKey, option);
}

QStringList filesFromArguments(const QStringList &arguments)
{
    QStringList files;
    for (const QString &argument : arguments.mid(1)) {
        if (argument.isEmpty() || argument.startsWith(QLatin1Char('-')))
            continue;
        const QUrl url(argument);
        files << QFileInfo(url.isLocalFile() ? url.toLocalFile() : argument).absoluteFilePath();
    }
    return files;
}
