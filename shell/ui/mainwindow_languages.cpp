// SPDX-License-Identifier: LGPL-3.0-or-later
#include "shell/ui/mainwindow.h"

#include <QAction>
#include <QActionGroup>
#include <QCoreApplication>
#include <QDir>
#include <QLibraryInfo>
#include <QLocale>
#include <QMenu>
#include <QTranslator>

#include <memory>

QMenu *MainWindow::createLanguageMenu()
{
    // Each translation names its own language as the translation of this word.
    static const char *const OwnLanguageName = QT_TR_NOOP("English");

    // Building again replaces the earlier menu, so only one needs retranslating.
    delete m_languageMenu;
    m_languageMenu = new QMenu(tr("Language"), this);
    auto *group = new QActionGroup(m_languageMenu);
    group->setExclusive(true);
    connect(group, &QActionGroup::triggered, this, &MainWindow::switchLanguage);

    const QStringList files =
        QDir(QStringLiteral(":/languages")).entryList({QStringLiteral("_*.qm")});
    int number = 0;
    for (const QString &file : files) {
        QString locale = file.mid(file.indexOf(QLatin1Char('_')) + 1);
        locale.chop(3);
        QTranslator scratch;
        if (!scratch.load(QStringLiteral(":/languages/") + file))
            continue;
        const QString language = scratch.translate("MainWindow", OwnLanguageName);
        QAction *action = group->addAction(QStringLiteral("&%1 %2").arg(++number).arg(language));
        action->setCheckable(true);
        action->setData(locale);
        action->setChecked(language == QLatin1String(OwnLanguageName));
        m_languageMenu->addAction(action);
    }
    return m_languageMenu;
}

void MainWindow::switchLanguage(QAction *action)
{
    const QString locale = action->data().toString();

    // Qt's own dialogs follow the system's language, whatever the program's texts use.
    QCoreApplication::removeTranslator(m_qtTranslator);
    // Without a file for that language they stay English, which needs no report.
    const bool qtTextsFound =
        m_qtTranslator->load(QStringLiteral("qt_") + QLocale::system().name(),
                             QLibraryInfo::location(QLibraryInfo::TranslationsPath));
    Q_UNUSED(qtTextsFound)
    QCoreApplication::installTranslator(m_qtTranslator);

    // A language without a file keeps the texts shown now, so load aside and swap on success.
    auto loaded = std::make_unique<QTranslator>(this);
    if (loaded->load(QStringLiteral("://languages/") +
                     QCoreApplication::applicationName().toLower() + QLatin1Char('_') + locale +
                     QStringLiteral(".qm"))) {
        QCoreApplication::removeTranslator(m_appTranslator);
        delete m_appTranslator;
        m_appTranslator = loaded.release();
        QCoreApplication::installTranslator(m_appTranslator);
    }
    // Called here rather than on the LanguageChange event, which comes later and once per
    // installed translator.
    retranslateUi();
}
