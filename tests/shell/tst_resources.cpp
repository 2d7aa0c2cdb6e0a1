#include "resources/initresources.h"
#include "shell/core/startup.h"
#include "shell/ui/mainwindow.h"
#include "shell/ui/metatypes.h"
#include "testenv.h"
#include "util/core/qtimespan.h"

#include <QAction>
#include <QFile>
#include <QIcon>
#include <QImageReader>
#include <QMenuBar>
#include <QMovie>
#include <QSettings>
#include <QtTest>

// The images and translations the program carries compiled in, as they reach the window.
class TestResources : public QObject
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

    void everyNamedImageResolves_data()
    {
        QTest::addColumn<QString>("path");
        // Every image the sources name, under both spellings of the resource root they use.
        const QStringList images{
            "OKAV.ico", "UpToParent.png", "add_red.png", "broom.png", "clearedit.png",
            "clock.png", "copy.png", "copy_text.png", "delete.png", "deletedfile.png", "down.png",
            "drop-down-list.png", "filter.png", "filter_error.png", "filter_warn.png",
            "flashlight.png", "folder.png", "freq.png", "gauge.png", "gear.png", "go.png",
            "graph.png", "home.png", "lightbulb_black.png", "linenumbers.png",
            "list_images.png", "loading.gif", "lockedfile.png", "mem_layout.png", "next.png",
            "play.png", "previous.png", "reboot_image.png", "recycle.png", "refreshfile.png",
            "reloadtext.png", "replot.png", "running_black.png", "running_greenblue.png",
            "save.png", "scrollarrow_down.png", "scrollarrow_up.png", "up.png", "xy.png",
            "xyx.png", "xyxy.png", "yxy.png", "monitoring.png", "refresh_blue.png"};
        for (const QString &image : images) {
            for (const char *root : {":/Images/", "://Images/"})
                QTest::newRow(qPrintable(root + image)) << root + image;
        }
        for (const char *bar : {"Center", "Left", "Right"})
            QTest::newRow(bar) << QStringLiteral(":/res/titlebar%1.png").arg(bar);
    }

    void everyNamedImageResolves()
    {
        QFETCH(QString, path);
        QImageReader reader(path);
        QVERIFY2(!reader.read().isNull(), qPrintable(path + ": " + reader.errorString()));
    }

    void busyIndicatorAnimatesAndTheIconHasSeveralSizes()
    {
        QMovie movie(QStringLiteral("://Images/loading.gif"));
        QVERIFY(movie.isValid());
        QVERIFY(movie.frameCount() > 1);
        QVERIFY(QIcon(QStringLiteral(":/Images/OKAV.ico")).availableSizes().size() >= 2);
    }

    void translationsChangeTheShownTexts_data()
    {
        QTest::addColumn<QString>("before"); // a locale switched to first
        QTest::addColumn<QString>("locale");
        QTest::addColumn<QString>("menus");
        QTest::addColumn<QString>("span"); // 1 hour, 2 minutes and 5 seconds; then no time
        const QString english = QStringLiteral("File View Layout Help");
        const QString englishSpan = QStringLiteral("1 hour, 2 minutes, 5 seconds|0 milliseconds");
        const QString swedish = QStringLiteral("Arkiv Visa Layout Hjälp");
        const QString swedishSpan =
            QStringLiteral("1 timme, 2 minuter, 5 sekunder|0 millisekunder");
        QTest::newRow("sv-se") << "" << "sv-se" << swedish << swedishSpan;
        QTest::newRow("ge") << "" << "ge" << "Datei Ansicht Anordnung Hilfe"
                            << "1 Stunde, 2 Minuten, 5 Sekunden|0 Millisekunden";
        // French counts zero as singular.
        QTest::newRow("fr") << "" << "fr" << "Fichier Affichage Disposition Aide"
                            << "1 heure, 2 minutes, 5 secondes|0 milliseconde";
        // A translation without these texts falls back to English.
        for (const char *locale : {"jp", "zh-cn", "zh-tw", "en"})
            QTest::newRow(locale) << "sv-se" << locale << english << englishSpan;
        // A locale without a file keeps what is shown.
        QTest::newRow("no file") << "" << "xx" << english << englishSpan;
        QTest::newRow("no file after sv-se") << "sv-se" << "xx" << swedish << swedishSpan;
    }

    void translationsChangeTheShownTexts()
    {
        QFETCH(QString, before);
        QFETCH(QString, locale);
        QFETCH(QString, menus);
        QFETCH(QString, span);
        MainWindow window;
        for (const QString &chosen : {before, locale}) {
            QAction action;
            action.setData(chosen);
            if (!chosen.isEmpty())
                window.switchLanguage(&action);
        }
        QStringList titles;
        for (QAction *action : window.menuBar()->actions())
            titles << action->text();
        QCOMPARE(titles.join(QLatin1Char(' ')), menus);
        const QTimeSpan mixed =
            QTimeSpan::fromHours(1) + QTimeSpan::fromMinutes(2) + QTimeSpan::fromSeconds(5);
        QCOMPARE(mixed.toString() + QLatin1Char('|') + QTimeSpan().toString(), span);
    }
};

QTEST_MAIN(TestResources)
#include "tst_resources.moc"
