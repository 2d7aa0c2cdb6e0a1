#include "testenv.h"

#include "resources/initresources.h"
#include "shell/core/startup.h"
#include "shell/ui/mainwindow.h"
#include "shell/ui/metatypes.h"
#include "util/core/qtimespan.h"

#include <QAction>
#include <QFile>
#include <QMenuBar>
#include <QSettings>
#include <QTranslator>
#include <QtTest>

namespace {
QStringList menuBarTitles(const MainWindow &window)
{
    QStringList titles;
    for (QAction *action : window.menuBar()->actions())
        titles << action->text();
    return titles;
}

void switchTo(MainWindow &window, const QString &locale)
{
    QAction action;
    action.setData(locale);
    window.switchLanguage(&action);
}

const QTimeSpan Mixed = QTimeSpan::fromHours(1) + QTimeSpan::fromMinutes(2) +
                        QTimeSpan::fromSeconds(5);
} // namespace

class TestLanguages : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        initResources();
        registerMetaTypes();
        setApplicationIdentity();
        QSettings(QStringLiteral("OKAV"), QStringLiteral("vrxassist")).clear();
    }

    void everyTranslationIsCompiledIn()
    {
        for (const char *locale : {"en", "fr", "ge", "jp", "sv-se", "zh-cn", "zh-tw"}) {
            const QString name = QString::fromLatin1(locale);
            QVERIFY2(QFile::exists(":/languages/" + name + ".qm"), locale);
            QVERIFY2(QFile::exists(":/languages/vrxassist_" + name + ".qm"), locale);
        }
    }

    void startUpShowsNoLanguageMenu()
    {
        MainWindow window;
        QCOMPARE(menuBarTitles(window), (QStringList{"File", "View", "Layout", "Help"}));
    }

    void menuBuilderFindsNoFileByItsPlainName()
    {
        MainWindow window;
        QMenu *menu = window.createLanguageMenu();
        QVERIFY(menu);
        QCOMPARE(menu->title(), QStringLiteral("Language"));
        QVERIFY(menu->actions().isEmpty());
        QVERIFY(!menuBarTitles(window).contains(QStringLiteral("Language")));
    }

    void localeWithoutAFileKeepsTheTextsShown()
    {
        MainWindow window;
        switchTo(window, QStringLiteral("xx"));
        QCOMPARE(menuBarTitles(window), (QStringList{"File", "View", "Layout", "Help"}));

        switchTo(window, QStringLiteral("sv-se"));
        switchTo(window, QStringLiteral("xx"));
        QCOMPARE(menuBarTitles(window).first(), QStringLiteral("Arkiv"));
    }

    void switchingChangesTheTextsAndBack()
    {
        MainWindow window;
        QMenu *languageMenu = window.createLanguageMenu();

        switchTo(window, QStringLiteral("sv-se"));
        QCOMPARE(menuBarTitles(window), (QStringList{"Arkiv", "Visa", "Layout", "Hjälp"}));
        QCOMPARE(languageMenu->title(), QStringLiteral("Språk"));
        QCOMPARE(Mixed.toString(), QStringLiteral("1 timme, 2 minuter, 5 sekunder"));
        QCOMPARE(QTimeSpan().toString(), QStringLiteral("0 millisekunder"));
        QCOMPARE(QTimeSpan::fromDays(2).toString(), QStringLiteral("2 dagar"));

        switchTo(window, QStringLiteral("ge"));
        QCOMPARE(menuBarTitles(window), (QStringList{"Datei", "Ansicht", "Anordnung", "Hilfe"}));
        QCOMPARE(Mixed.toString(), QStringLiteral("1 Stunde, 2 Minuten, 5 Sekunden"));

        switchTo(window, QStringLiteral("fr"));
        QCOMPARE(menuBarTitles(window).first(), QStringLiteral("Fichier"));
        // French counts zero as singular.
        QCOMPARE(QTimeSpan().toString(), QStringLiteral("0 milliseconde"));

        // A translation without these texts falls back to English.
        switchTo(window, QStringLiteral("jp"));
        QCOMPARE(menuBarTitles(window), (QStringList{"File", "View", "Layout", "Help"}));

        switchTo(window, QStringLiteral("sv-se"));
        switchTo(window, QStringLiteral("en"));
        QCOMPARE(menuBarTitles(window), (QStringList{"File", "View", "Layout", "Help"}));
        QCOMPARE(languageMenu->title(), QStringLiteral("Language"));
        QCOMPARE(Mixed.toString(), QStringLiteral("1 hour, 2 minutes, 5 seconds"));
        QCOMPARE(QTimeSpan::fromDays(1).toString(), QStringLiteral("1 day"));
    }

    void eachTranslationNamesItsLanguage_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<QString>("name");
        QTest::newRow("en") << "en.qm" << "English";
        QTest::newRow("sv-se") << "sv-se.qm" << QStringLiteral("Svenska");
        QTest::newRow("fr") << "fr.qm" << QStringLiteral("Français");
        QTest::newRow("ge") << "ge.qm" << QStringLiteral("Deutsch");
    }

    void eachTranslationNamesItsLanguage()
    {
        QFETCH(QString, file);
        QFETCH(QString, name);
        QTranslator translator;
        QVERIFY(translator.load(":/languages/" + file));
        QCOMPARE(translator.translate("MainWindow", "English"), name);
    }
};

QTEST_MAIN(TestLanguages)
#include "tst_languages.moc"
