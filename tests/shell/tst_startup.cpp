#include "shell/core/startup.h"
#include "shell/ui/metatypes.h"
#include "resources/initresources.h"
#include "testenv.h"

#include <QDir>
#include <QFile>
#include <QIcon>
#include <QImage>
#include <QImageReader>
#include <QMovie>
#include <QSequentialIterable>
#include <QSet>
#include <QTextEdit>
#include <QVector>
#include <QtTest>

class TestStartup : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        initResources();
        registerMetaTypes();
    }

    void commandLineFilesAreOpened()
    {
        const QStringList files = filesFromArguments(
            {"vrxassist", "/data/run 1.log", "-style", "file:///data/fw%20a.mcs", "rel.bin", ""});
        QCOMPARE(files, QStringList({"/data/run 1.log", "/data/fw a.mcs",
                                     QDir::current().absoluteFilePath("rel.bin")}));
    }

    void everyNamedImageResolves_data()
    {
        QTest::addColumn<QString>("path");
        const char *paths[] = {
        "://Images/OKAV.ico",
        "://Images/UpToParent.png",
        "://Images/add_red.png",
        "://Images/broom.png",
        "://Images/clearedit.png",
        "://Images/clock.png",
        "://Images/copy.png",
        "://Images/copy_text.png",
        "://Images/delete.png",
        "://Images/deletedfile.png",
        "://Images/down.png",
        "://Images/drop-down-list.png",
        "://Images/filter.png",
        "://Images/filter_error.png",
        "://Images/filter_warn.png",
        "://Images/flashlight.png",
        "://Images/folder.png",
        "://Images/freq.png",
        "://Images/gauge.png",
        "://Images/gear.png",
        "://Images/go.png",
        "://Images/graph.png",
        "://Images/home.png",
        "://Images/lightbulb_black.png",
        "://Images/linenumbers.png",
        "://Images/list_images.png",
        "://Images/loading.gif",
        "://Images/lockedfile.png",
        "://Images/mem_layout.png",
        "://Images/next.png",
        "://Images/play.png",
        "://Images/previous.png",
        "://Images/reboot_image.png",
        "://Images/recycle.png",
        "://Images/refreshfile.png",
        "://Images/reloadtext.png",
        "://Images/replot.png",
        "://Images/running_black.png",
        "://Images/running_greenblue.png",
        "://Images/save.png",
        "://Images/scrollarrow_down.png",
        "://Images/scrollarrow_up.png",
        "://Images/up.png",
        "://Images/xy.png",
        "://Images/xyx.png",
        "://Images/xyxy.png",
        "://Images/yxy.png",
        ":/Images/OKAV.ico",
        ":/Images/monitoring.png",
        ":/Images/refresh_blue.png",
        ":/res/titlebarCenter.png",
        ":/res/titlebarLeft.png",
        ":/res/titlebarRight.png"};
        for (const char *path : paths)
            QTest::newRow(path) << QString::fromLatin1(path);
    }

    void everyNamedImageResolves()
    {
        QFETCH(QString, path);
        QVERIFY2(QFile::exists(path), qPrintable(path));
        // Both spellings of the resource root reach the same file.
        QString other = path;
        if (other.startsWith(QLatin1String("://")))
            other.replace(0, 3, QStringLiteral(":/"));
        else
            other.replace(0, 2, QStringLiteral("://"));
        QVERIFY2(QFile::exists(other), qPrintable(other));
        QImageReader reader(path);
        const QImage image = reader.read();
        QVERIFY2(!image.isNull(), qPrintable(path + QLatin1String(": ") + reader.errorString()));
    }

    void busyIndicatorAnimates()
    {
        QMovie movie(QStringLiteral("://Images/loading.gif"));
        QVERIFY(movie.isValid());
        QVERIFY(movie.frameCount() > 1);
    }

    void windowIconHasSeveralSizes()
    {
        const QIcon icon(QStringLiteral(":/Images/OKAV.ico"));
        QVERIFY(!icon.isNull());
        QVERIFY(icon.availableSizes().size() >= 2);
    }
};

QTEST_MAIN(TestStartup)
#include "tst_startup.moc"
