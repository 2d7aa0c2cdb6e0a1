// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include <QDir>
#include <QTemporaryDir>
#include <QtGlobal>

// Gives the test process a HOME and settings location of its own. It runs during static
// initialisation, before the test's application object or any settings store exists.
namespace TestEnv {

class IsolatedHome
{
public:
    IsolatedHome() : m_dir(QDir::tempPath() + QStringLiteral("/vrxassist-test-XXXXXX"))
    {
        const QString home = m_dir.path();
        QDir(home).mkpath(QStringLiteral(".config"));
        QDir(home).mkpath(QStringLiteral(".local/share"));
        QDir(home).mkpath(QStringLiteral(".cache"));
        QDir(home).mkpath(QStringLiteral("runtime"));
        QFile::setPermissions(home + QStringLiteral("/runtime"),
                              QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        qputenv("HOME", home.toLocal8Bit());
        qputenv("XDG_CONFIG_HOME", (home + QStringLiteral("/.config")).toLocal8Bit());
        qputenv("XDG_DATA_HOME", (home + QStringLiteral("/.local/share")).toLocal8Bit());
        qputenv("XDG_CACHE_HOME", (home + QStringLiteral("/.cache")).toLocal8Bit());
        qputenv("XDG_RUNTIME_DIR", (home + QStringLiteral("/runtime")).toLocal8Bit());
    }
    QString path() const { return m_dir.path(); }

private:
    QTemporaryDir m_dir;
};

inline IsolatedHome &isolatedHome()
{
    static IsolatedHome home;
    return home;
}

namespace {
[[maybe_unused]] const bool s_homeIsolated = (isolatedHome(), true);
}

} // namespace TestEnv
