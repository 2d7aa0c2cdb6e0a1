// SPDX-License-Identifier: LGPL-3.0-or-later
#include "testenv.h"

#include "plottestutil.h"

#include "monitor/core/remotememprocessed.h"
#include "monitor/core/vrxmon.h"
#include "monitor/core/vrxmonhost.h"
#include "plot/core/qtviloplotitem.h"
#include "plot/ui/qtvilo.h"
#include "plot/ui/qtviloplotitemsmodel.h"
#include "resources/initresources.h"
#include "util/ui/notify.h"
#include "loadgen.h"

#include <QFile>
#include <QIcon>
#include <QMimeData>
#include <QProcess>
#include <QSettings>
#include <QSignalSpy>
#include <QSpinBox>
#include <QTableView>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>
#include <sys/ptrace.h>

namespace {
using Model = QtViloPlotItemsModel;

// Whether this process may trace a child of its own (containers often forbid it).
bool canTraceChildren(QString *reason)
{
    Child child;
    const bool ok = ptrace(PTRACE_SEIZE, child.pid, nullptr, nullptr) == 0;
    if (!ok)
        *reason = QString::fromLocal8Bit(strerror(errno));
    return ok;
}

// A client's request for memory of a process id nobody has, so the read fails at once.
QString failingRequest(const QString &name)
{
    return QStringLiteral("999999999, /bin/none, %1, 0x1000, int16, 1, 0, 0, 64, 1000, 16, 1.0, "
                          "1.0, 128")
        .arg(name);
}

struct Warnings
{
    Warnings()
    {
        Notify::setHook([this](Notify::Kind, const QString &title, const QString &text) {
            titles << title;
            texts << text;
            return QMessageBox::Ok;
        });
    }
    ~Warnings() { Notify::setHook({}); }
    QStringList titles;
    QStringList texts;
};
} // namespace

class TestQtVilo : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase()
    {
        initResources();
        QVERIFY(m_dir.isValid());
    }

    void init()
    {
        QSettings().clear();
        while (RemoteMemProcessed.tryAcquire()) {
        }
    }

    void filesAreReadWholeAndAMissingFileIsMarked()
    {
        // New settings: a file of 1.2 M samples shows whole, not its first million.
        QtVilo panel;
        Model *model = panel.model();
        const QString path = writeInt16File(m_dir.filePath(QStringLiteral("ramp.bin")), 1200000);
        QSignalSpy updated(model, &Model::PlotDataUpdated);
        panel.openFiles({path});
        QTRY_COMPARE(updated.count(), 1);
        QCOMPARE(model->rowCount(), 1);
        QCOMPARE(model->index(0, Model::FormatColumn).data().toString(), QStringLiteral("Int16"));
        QCOMPARE(model->index(0, Model::PlotPercentageColumn).data().toString(),
                 QStringLiteral("100.00%"));
        QCOMPARE(model->item(0)->sampleCount(), 1200000);

        // A smaller read size reads again and shows the part that is plotted.
        QVERIFY(model->setData(model->index(0, Model::MaxPlotSizeColumn), 300000));
        QTRY_COMPARE(updated.count(), 2);
        QCOMPARE(model->item(0)->sampleCount(), 300000);
        QCOMPARE(model->index(0, Model::PlotPercentageColumn).data().toString(),
                 QStringLiteral("25.00%"));

        // Tables of numbers typed as csv or tsv by their suffix are plotted as numbers.
        for (const char *name : {"table.csv", "table.tsv"}) {
            QFile table(m_dir.filePath(QLatin1String(name)));
            QVERIFY(table.open(QIODevice::WriteOnly));
            table.write("1.5,2\t-3\r\n4e2,5\t6\r\n");
            table.close();
            const int reads = updated.count();
            panel.openFiles({table.fileName()});
            const int row = model->rowCount() - 1;
            QCOMPARE(model->filePath(row), table.fileName());
            QCOMPARE(model->index(row, Model::FormatColumn).data().toString(),
                     QStringLiteral("Ascii"));
            // The samples are the reader's until the model hears it is done.
            QTRY_COMPARE(updated.count(), reads + 1);
            QCOMPARE(model->item(row)->sampleCount(), 6);
            QCOMPARE(model->item(row)->valueAt(3), 400.0);
        }

        QVERIFY(QFile::remove(path));
        const QModelIndex pathIndex = model->index(0, Model::FilePathColumn);
        QTRY_COMPARE(pathIndex.data().toString(), path + QStringLiteral(" [Not Found!]"));
        const QImage shown = pathIndex.data(Qt::DecorationRole).value<QIcon>().pixmap(16).toImage();
        const QImage deleted =
            QIcon(QStringLiteral("://Images/deletedfile.png")).pixmap(16).toImage();
        QVERIFY(!deleted.isNull());
        QCOMPARE(shown, deleted);
    }

    void largeFilesAreRefusedInOneWarning()
    {
        Warnings warnings;
        QtVilo panel;
        const QString small = writeInt16File(m_dir.filePath(QStringLiteral("small.int16")), 8);
        QStringList large;
        for (const char *name : {"huge1.bin", "huge2.bin"}) {
            QFile file(m_dir.filePath(QLatin1String(name)));
            QVERIFY(file.open(QIODevice::WriteOnly));
            QVERIFY(file.resize(500000001)); // sparse: costs no disk
            large << file.fileName();
        }
        panel.openFiles(QStringList{large.first(), small, large.last()});
        QCOMPARE(panel.model()->rowCount(), 1);
        QCOMPARE(warnings.titles, QStringList{QStringLiteral("Large File Warning!")});
        QVERIFY(warnings.texts.first().contains(large.first()));
        QVERIFY(warnings.texts.first().contains(large.last()));
        QVERIFY(warnings.texts.first().contains(QStringLiteral("476.837 MB")));
        QFile::remove(large.first());
        QFile::remove(large.last());
    }

    void listOperationsAndLinks()
    {
        QtVilo panel;
        Model *model = panel.model();
        panel.findChild<QSpinBox *>()->setValue(2);
        QSignalSpy updated(model, &Model::PlotDataUpdated);
        QStringList paths;
        for (int i = 0; i < 3; ++i)
            paths << writeInt16File(m_dir.filePath(QStringLiteral("list%1.bin").arg(i)), 64);
        panel.openFiles(paths);
        QTRY_COMPARE(updated.count(), 1);
        // Beyond the target plot count new rows start hidden.
        QCOMPARE(model->index(2, Model::VisibilityColumn).data(Qt::CheckStateRole).toInt(),
                 int(Qt::Unchecked));

        // F9 toggles the selected rows.
        panel.itemsView()->selectRow(0);
        panel.keyOperation(1);
        QCOMPARE(model->item(0)->visible, false);
        QCOMPARE(model->item(1)->visible, true);

        // A value link copies the edit, an increment link adds the same change.
        model->setData(model->index(1, Model::StepColumn), 3);
        model->setLinks({Model::StepColumn}, Model::LinkMode::Value);
        model->setData(model->index(0, Model::StepColumn), 5);
        for (int row = 0; row < 3; ++row)
            QCOMPARE(model->item(row)->step, 5);
        model->setLinks({}, Model::LinkMode::Off);
        model->setData(model->index(2, Model::StepColumn), 7);
        model->setLinks({Model::StepColumn}, Model::LinkMode::Increment);
        model->setData(model->index(0, Model::StepColumn), 6);
        QCOMPARE(model->item(1)->step, 6);
        QCOMPARE(model->item(2)->step, 8);

        // Rows dragged between lists travel as paths; a row already listed is not doubled,
        // a dropped file is added.
        std::unique_ptr<QMimeData> rows(model->mimeData({model->index(1, Model::FilePathColumn)}));
        QVERIFY(rows->hasFormat(QStringLiteral("application/vnd.text.list")));
        QVERIFY(model->dropMimeData(rows.get(), Qt::CopyAction, -1, 0, {}));
        QCOMPARE(model->rowCount(), 3);
        QMimeData files;
        files.setUrls({QUrl::fromLocalFile(
            writeInt16File(m_dir.filePath(QStringLiteral("dropped.bin")), 16))});
        QVERIFY(model->dropMimeData(&files, Qt::CopyAction, -1, 0, {}));
        QCOMPARE(model->rowCount(), 4);
        QCOMPARE(model->filePath(3), m_dir.filePath(QStringLiteral("dropped.bin")));

        // F10 clears the list.
        panel.keyOperation(2);
        QCOMPARE(model->rowCount(), 0);
    }

    void replicaJoinsTheListWithTheSourceFormat()
    {
        QtVilo panel;
        Model *model = panel.model();
        QFile file(m_dir.filePath(QStringLiteral("wide.int32")));
        QVERIFY(file.open(QIODevice::WriteOnly));
        const QVector<qint32> samples = {-70000, 5, 123456, 7};
        file.write(reinterpret_cast<const char *>(samples.constData()), 16);
        file.close();
        QSignalSpy updated(model, &Model::PlotDataUpdated);
        panel.openFiles({file.fileName()});
        QTRY_COMPARE(updated.count(), 1);
        QSignalSpy replicated(model, &Model::ItemReplicated);
        emit model->ReplicateToBinFile(model->item(0), false);
        QTRY_COMPARE(replicated.count(), 1);
        QTRY_COMPARE(updated.count(), 2);
        QCOMPARE(model->rowCount(), 2);
        QVERIFY(model->filePath(1).endsWith(QStringLiteral(".bin")));
        QCOMPARE(model->index(1, Model::FormatColumn).data().toString(), QStringLiteral("Int32"));
        QTRY_COMPARE(model->item(1)->sampleCount(), 4);
        QCOMPARE(model->item(1)->valueAt(2), 123456.0);
    }

    void failedMemoryReadsReleaseTheClientAndWarnOnce()
    {
        Warnings warnings;
        QtVilo panel;
        for (int round = 0; round < 2; ++round) {
            panel.onVirtualPlotItemConnected(failingRequest(QStringLiteral("Record")));
            QTRY_COMPARE(RemoteMemProcessed.available(), 1);
            QVERIFY(RemoteMemProcessed.tryAcquire());
        }
        QCOMPARE(panel.model()->rowCount(), 1);
        QCOMPARE(warnings.titles.size(), 1);
        QVERIFY(warnings.texts.first().contains(
            QStringLiteral("Could not open file! Are you sudo?")));

        // A request that names no memory adds nothing and still lets its client go on.
        for (int round = 0; round < 2; ++round) {
            panel.onVirtualPlotItemConnected(QStringLiteral("1234, /bin/none"));
            QCOMPARE(RemoteMemProcessed.available(), 1);
            QVERIFY(RemoteMemProcessed.tryAcquire());
        }
        QCOMPARE(panel.model()->rowCount(), 1);
        QCOMPARE(warnings.titles.size(), 2);
    }

    void aReadErrorWhileItsBoxIsOpenShowsWhenItCloses()
    {
        // A box runs its own event loop; clients failing meanwhile must not open a box inside
        // it (boxes nobody answers would nest without end), nor be lost: they show next, in
        // one box that lists twenty and counts the rest, however long the first stays open.
        QtVilo panel;
        QStringList titles, texts;
        int open = 0;
        int deepest = 0;
        bool firstLetGo = false;
        int othersLetGo = 0;
        Notify::setHook([&](Notify::Kind, const QString &title, const QString &text) {
            titles << title;
            texts << text;
            deepest = qMax(deepest, ++open);
            if (titles.size() == 1) {
                // The first client was let go before its box; others fail meanwhile.
                firstLetGo = RemoteMemProcessed.tryAcquire();
                for (int i = 0; i < 23; ++i) {
                    panel.onVirtualPlotItemConnected(
                        failingRequest(QStringLiteral("Second%1").arg(i)));
                    othersLetGo += QTest::qWaitFor(
                        [] { return RemoteMemProcessed.tryAcquire(); }, 10000);
                }
            }
            --open;
            return QMessageBox::Ok;
        });
        panel.onVirtualPlotItemConnected(failingRequest(QStringLiteral("First")));
        QTRY_VERIFY(titles.size() == 2 && open == 0);
        Notify::setHook({});
        QVERIFY(firstLetGo);
        QCOMPARE(othersLetGo, 23);
        QVERIFY(titles.at(0).startsWith(QStringLiteral("First@")));
        QVERIFY(titles.at(1).startsWith(QStringLiteral("Second0@")));
        QVERIFY(titles.at(1).endsWith(QStringLiteral(" - File read Error!")));
        QCOMPARE(texts.at(1).count(QStringLiteral(" - File read Error!")), 20);
        QVERIFY(texts.at(1).contains(QStringLiteral("Second19@")));
        QVERIFY(texts.at(1).endsWith(QStringLiteral("... and 3 more read error(s).")));
        QCOMPARE(deepest, 1);
        QCOMPARE(panel.model()->rowCount(), 24);
    }

    void demoProgramMemoryIsPlottedBeforeItGoesOn()
    {
        QString reason;
        if (!canTraceChildren(&reason))
            QSKIP(qPrintable(QStringLiteral("this machine does not allow ptrace: ") + reason));
        Warnings warnings;
        QtVilo panel;
        Model *model = panel.model();
        VrxMonHost host;
        const quint16 port = VrxLoadGen::firstBindablePort(50810);
        connect(host.server(), &VrxMon::firstClientConnected, &panel,
                &QtVilo::clearOnFirstVirtualPlot);
        connect(host.server(), &VrxMon::VirtualPlotItemConnected, &panel,
                &QtVilo::onVirtualPlotItemConnected);
        QString output;
        connect(&host, &VrxMonHost::MessageAvailable, this,
                [&output](const QString &text) { output += text; });
        host.start(1, QStringLiteral("127.0.0.1"), port, 0, 0, 0);
        QTRY_VERIFY2(output.contains(QStringLiteral("NOTE : VRX Monitor started!")),
                     qPrintable(output));

        // Each record n holds n * 1000 + i; a read that overlapped the refill, or came after
        // the client went on, would see a mixed or a later record.
        QList<QVector<qint16>> seen;
        connect(model, &Model::PlotDataUpdated, this, [&] {
            const QtViloPlotItem *item = model->item(0);
            QReadLocker lock(&item->dataLock());
            QVector<qint16> samples(int(item->sampleCount()));
            for (int i = 0; i < samples.size(); ++i)
                samples[i] = qint16(item->valueAt(i));
            seen << samples;
        });
        QProcess demo;
        demo.start(QStringLiteral(VRXDEMO_PATH),
                   {QStringLiteral("--port"), QString::number(port), QStringLiteral("--iterations"),
                    QStringLiteral("5"), QStringLiteral("--interval-ms"), QStringLiteral("0"),
                    QStringLiteral("--samples"), QStringLiteral("4096"), QStringLiteral("--ramp")});
        QTRY_VERIFY_WITH_TIMEOUT(demo.state() == QProcess::NotRunning, 60000);
        QVERIFY2(demo.exitCode() == 0, demo.readAllStandardError().constData());
        QVERIFY2(warnings.texts.isEmpty(), qPrintable(warnings.texts.join('\n')));
        QCOMPARE(model->rowCount(), 1);
        QVERIFY(model->isMemoryItem(0));
        QCOMPARE(model->index(0, Model::FilePathColumn).data().toString().left(17),
                 QStringLiteral("Demo_Sine_Record@"));
        QCOMPARE(seen.size(), 5);
        for (int n = 0; n < seen.size(); ++n) {
            QCOMPARE(seen[n].size(), 4096);
            for (int i = 0; i < 4096; i += 97)
                QCOMPARE(int(seen[n][i]), (n * 1000 + i) % 32768);
        }
        host.stop();
    }

private:
    QTemporaryDir m_dir;
};

QTEST_MAIN(TestQtVilo)
#include "tst_qtvilo.moc"
