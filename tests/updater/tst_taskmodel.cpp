#include "testenv.h"

#include "resources/initresources.h"
#include "updater/ui/tasktreeview.h"
#include "updater/ui/treemodel.h"
#include "util/core/identity.h"

#include <QColor>
#include <QFileInfo>
#include <QMimeData>
#include <QPixmap>
#include <QSettings>
#include <QTemporaryDir>
#include <QUrl>
#include <QtTest>

#include <memory>

namespace {

// Generous, only to end a hung run: the wait below polls for a signal, never for a time.
constexpr int Wait = 30000;

QString cell(const TreeModel &model, int row, int column, int role = Qt::DisplayRole)
{
    return model.data(model.index(row, column), role).toString();
}

QStringList column(const TreeModel &model, int column)
{
    QStringList values;
    for (int row = 0; row < model.rowCount(); ++row)
        values << cell(model, row, column);
    return values;
}

QString writeFile(const QTemporaryDir &dir, const QString &name, const QByteArray &data)
{
    const QString path = dir.filePath(name);
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(data) != data.size())
        return QString();
    return path;
}

// Drops go straight to the handler: a real drag needs a window system to carry it.
class DropTarget : public TaskTreeView
{
public:
    using TaskTreeView::dropEvent;
    using TaskTreeView::TaskTreeView;
};

void clearStoredTasks()
{
    QSettings settings(Identity::Organization, Identity::Application);
    settings.remove(QStringLiteral("RecentFiles"));
    settings.sync();
}

} // namespace

class TestTaskModel : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        initResources();
        // Lets QSignalSpy copy the list the view's signal passes by reference.
        qRegisterMetaType<QStringList>("QStringList&");
    }
    void init() { clearStoredTasks(); }

    void headersAndEditableColumns()
    {
        TreeModel model(nullptr, false);
        const QStringList expected{"Task #",    "File Path",     "Task Macro",   "Device",
                                   "File Size", "Date Modified", "Date Uploaded"};
        QCOMPARE(model.columnCount(), expected.size());
        for (int section = 0; section < expected.size(); ++section)
            QCOMPARE(model.headerData(section, Qt::Horizontal).toString(), expected.at(section));

        model.AppendRows({"a.mcs"});
        for (int c = 0; c < TreeModel::ColumnCount; ++c) {
            const bool editable =
                c == TreeModel::FilePath || c == TreeModel::Macro || c == TreeModel::Device;
            QCOMPARE(model.setData(model.index(0, c), "x.mcs"), editable);
        }
    }

    void moveAndRemoveRenumber()
    {
        TreeModel model(nullptr, false);
        model.AppendRows({"a.mcs", "b.mcs", "c.mcs", "d.mcs"});
        QVERIFY(model.moveTask(0, 1));
        QVERIFY(model.moveTask(3, -1));
        QVERIFY(!model.moveTask(0, -1));
        QVERIFY(!model.moveTask(3, 1));
        QVERIFY(!model.moveTask(7, -1));
        QCOMPARE(model.filePaths(), QStringList({"b.mcs", "a.mcs", "d.mcs", "c.mcs"}));
        QCOMPARE(column(model, TreeModel::TaskNumber), QStringList({"1", "2", "3", "4"}));

        model.removeTasks({3, 0, 3, 9});
        QCOMPARE(model.filePaths(), QStringList({"a.mcs", "d.mcs"}));
        QCOMPARE(column(model, TreeModel::TaskNumber), QStringList({"1", "2"}));

        model.AppendRows({"e.mcs"});
        model.keepLastTask();
        QCOMPARE(model.filePaths(), QStringList({"e.mcs"}));
        model.clearTasks();
        QCOMPARE(model.rowCount(), 0);
    }

    void moveTasks_data()
    {
        QTest::addColumn<QList<int>>("rows");
        QTest::addColumn<int>("destination");
        QTest::addColumn<QString>("order");
        QTest::newRow("down, apart") << QList<int>{2, 0} << 4 << "bdace";
        QTest::newRow("up, apart") << QList<int>{4, 2} << 1 << "acebd";
        QTest::newRow("around the destination") << QList<int>{0, 4} << 2 << "baecd";
        QTest::newRow("to the end") << QList<int>{1} << 5 << "acdeb";
        QTest::newRow("already there") << QList<int>{1, 2} << 1 << "abcde";
    }

    void moveTasks()
    {
        QFETCH(QList<int>, rows);
        QFETCH(int, destination);
        QFETCH(QString, order);
        TreeModel model(nullptr, false);
        model.AppendRows({"a", "b", "c", "d", "e"});
        model.moveTasks(rows, destination);
        QCOMPARE(model.filePaths().join(QString()), order);
    }

    void fileColumnsFollowTheFile()
    {
        QTemporaryDir dir;
        const QString present = writeFile(dir, "present.mcs", QByteArray(1234, 'x'));
        const QString missing = dir.filePath("missing.mcs");
        QVERIFY(!present.isEmpty());

        TreeModel model(nullptr, false);
        model.AppendRows({present, missing});
        QCOMPARE(cell(model, 0, TreeModel::FileSize), QString("1234"));
        QCOMPARE(cell(model, 0, TreeModel::DateModified),
                 QFileInfo(present).lastModified().toString(TreeModel::DateFormat));
        QCOMPARE(model.task(0).fileSize, QString("1234"));
        QVERIFY(!model.data(model.index(0, TreeModel::FilePath), Qt::ForegroundRole).isValid());

        QCOMPARE(cell(model, 1, TreeModel::FilePath), missing);
        QCOMPARE(cell(model, 1, TreeModel::FilePath, Qt::ToolTipRole), missing);
        QCOMPARE(cell(model, 1, TreeModel::FileSize), QString("File Not Found!"));
        for (int c = 0; c < TreeModel::ColumnCount; ++c)
            QCOMPARE(model.data(model.index(1, c), Qt::ForegroundRole).value<QColor>(),
                     QColor("gainsboro"));

        // Pointing the task at a file that exists brings its size back.
        QVERIFY(model.setData(model.index(1, TreeModel::FilePath), present));
        QCOMPARE(cell(model, 1, TreeModel::FileSize), QString("1234"));
        QVERIFY(!model.data(model.index(1, TreeModel::Device), Qt::ForegroundRole).isValid());
    }

    void tasksSurviveARestart()
    {
        QTemporaryDir dir;
        const QString real = writeFile(dir, "real.mcs", "abc");
        const QDateTime uploaded(QDate(2023, 3, 14), QTime(15, 9, 26));
        const QString uploadedText = uploaded.toString(TreeModel::DateFormat);
        QVector<UpdaterTask> expected;
        {
            TreeModel model;
            QSignalSpy changed(&model, &TreeModel::TasksChanged);
            model.AppendRows({real, "gone.mcs", "third.bit"});
            model.setData(model.index(0, TreeModel::Macro), "-m 1");
            model.setData(model.index(1, TreeModel::Device), "3: VRX8");
            QVERIFY(model.moveTask(2, -1));
            model.markUploaded(0, uploaded);
            model.addRecentFirmwarePath(real);
            QCOMPARE(changed.count(), 6);
            QCOMPARE(cell(model, 0, TreeModel::DateUploaded), uploadedText);
            expected = model.tasks();
        }

        QSettings settings(Identity::Organization, Identity::Application);
        settings.beginGroup("RecentFiles");
        for (const char *key :
             {"RecentFilePaths", "RecentMCSPaths", "RecentMacros", "RecentDevices",
              "RecentFileSize", "RecentFileDate", "RecentFileUploadDate"})
            QCOMPARE(settings.value(key).toStringList().size(), 3);
        QCOMPARE(settings.value("RecentFilePaths").toStringList(),
                 QStringList({real, "third.bit", "gone.mcs"}));
        QCOMPARE(settings.value("RecentMacros").toStringList(), QStringList({"-m 1", "", ""}));
        QCOMPARE(settings.value("RecentDevices").toStringList(), QStringList({"", "", "3: VRX8"}));
        QCOMPARE(settings.value("RecentFileSize").toStringList().first(), QString("3"));
        QCOMPARE(settings.value("RecentFileUploadDate").toStringList().first(), uploadedText);
        // Every added file is offered again by the file cell, the newest first.
        QCOMPARE(settings.value("RecentMCSPaths").toStringList(),
                 QStringList({real, "third.bit", "gone.mcs"}));

        TreeModel restored;
        QVERIFY(restored.tasks() == expected);
        QCOMPARE(restored.recentFirmwarePaths(), QStringList({real, "third.bit", "gone.mcs"}));
        QCOMPARE(column(restored, TreeModel::TaskNumber), QStringList({"1", "2", "3"}));

        // A model that does not persist neither reads nor writes the stored tasks.
        TreeModel scratch(nullptr, false);
        QCOMPARE(scratch.rowCount(), 0);
        scratch.AppendRows({"other.mcs"});
        QSettings reread(Identity::Organization, Identity::Application);
        QCOMPARE(reread.value("RecentFiles/RecentFilePaths").toStringList().size(), 3);
    }

    void shortStoredListsArePadded()
    {
        {
            QSettings settings(Identity::Organization, Identity::Application);
            settings.beginGroup("RecentFiles");
            settings.setValue("RecentFilePaths", QStringList({"a.mcs", "b.mcs", "c.mcs"}));
            settings.setValue("RecentMacros", QStringList({"-m a"}));
            settings.setValue("RecentFileUploadDate", QStringList({"", "01 Jan 2023 00:00:00"}));
        }
        TreeModel model;
        QCOMPARE(model.rowCount(), 3);
        QCOMPARE(column(model, TreeModel::Macro), QStringList({"-m a", "", ""}));
        QCOMPARE(column(model, TreeModel::Device), QStringList({"", "", ""}));
        QCOMPARE(column(model, TreeModel::DateUploaded),
                 QStringList({"", "01 Jan 2023 00:00:00", ""}));
    }

    void recentFirmwareIsNewestFirstUniqueAndCapped()
    {
        TreeModel model(nullptr, false);
        for (int i = 0; i < TreeModel::MaxRecentFirmware + 3; ++i)
            model.addRecentFirmwarePath(QString("fw%1.mcs").arg(i));
        model.addRecentFirmwarePath("fw10.mcs");
        model.AppendRows({"a.mcs"});
        model.setData(model.index(0, TreeModel::FilePath), "picked.mcs");

        const QStringList recent = model.recentFirmwarePaths();
        QCOMPARE(recent.size(), int(TreeModel::MaxRecentFirmware));
        QCOMPARE(recent.mid(0, 4), QStringList({"picked.mcs", "a.mcs", "fw10.mcs", "fw18.mcs"}));
        QCOMPARE(recent.count("fw10.mcs"), 1);
        QVERIFY(!recent.contains("fw3.mcs"));
    }

    void droppedFilesAreRouted()
    {
        TreeModel model(nullptr, false);
        model.AppendRows({"/fw/first.mcs"});
        model.setData(model.index(0, TreeModel::Device), "0: VRX14");
        TaskTreeView view(&model);
        QSignalSpy unsupported(&view, &TaskTreeView::UnsupportedFilesDropped);

        QList<QUrl> urls;
        for (const char *name : {"a.mcs", "b.zip", "c.MMCS", "d.log", "e.lic", "f.bin", "g.bit"})
            urls << QUrl::fromLocalFile(QString("/drop/") + name);
        QMimeData mixed;
        mixed.setUrls(urls);
        view.takeDroppedUrls(&mixed);

        QCOMPARE(model.filePaths(), QStringList({"/fw/first.mcs", "/drop/a.mcs", "/drop/c.MMCS",
                                                 "/drop/e.lic", "/drop/g.bit"}));
        QCOMPARE(model.task(4).device, QString("0: VRX14"));
        QCOMPARE(unsupported.count(), 1);
        QCOMPARE(unsupported.first().first().toStringList(),
                 QStringList({"/drop/b.zip", "/drop/d.log", "/drop/f.bin"}));

        // Only firmware files, dropped before the second task: no hand-back.
        QMimeData supported;
        supported.setUrls({QUrl::fromLocalFile("/drop/h.BIT"), QUrl::fromLocalFile("/drop/i.mcs")});
        view.takeDroppedUrls(&supported, 1);
        QCOMPARE(model.filePaths().mid(0, 4),
                 QStringList({"/fw/first.mcs", "/drop/h.BIT", "/drop/i.mcs", "/drop/a.mcs"}));
        QCOMPARE(unsupported.count(), 1);
    }

    void dropsOnTheViewLandBetweenRows()
    {
        TreeModel model(nullptr, false);
        model.AppendRows({"a", "b", "c", "d"});
        DropTarget view(&model);
        view.resize(600, 300);
        view.show();
        QVERIFY(QTest::qWaitForWindowExposed(&view));
        QSignalSpy unsupported(&view, &TaskTreeView::UnsupportedFilesDropped);
        const QRect rowRect = view.visualRect(model.index(0, TreeModel::FilePath));
        const QPoint upperHalf(rowRect.center().x(), rowRect.top() + rowRect.height() / 3);
        const QPoint lowerHalf(rowRect.center().x(), rowRect.bottom() - rowRect.height() / 3);

        // A row dragged within the list: moved by the model, and not reported as a move, which
        // would make the drag's source remove the selected rows afterwards.
        view.setCurrentIndex(model.index(3, 0));
        std::unique_ptr<QMimeData> rows(model.mimeData(view.selectionModel()->selectedIndexes()));
        QDropEvent internal(upperHalf, Qt::MoveAction, rows.get(), Qt::LeftButton, Qt::NoModifier);
        view.dropEvent(&internal);
        QVERIFY(internal.isAccepted());
        QCOMPARE(internal.dropAction(), Qt::IgnoreAction);
        QCOMPARE(model.filePaths().join(QString()), QString("dabc"));

        QMimeData files;
        files.setUrls({QUrl::fromLocalFile("/drop/x.mcs"), QUrl::fromLocalFile("/drop/y.zip")});
        QDropEvent external(lowerHalf, Qt::CopyAction, &files, Qt::LeftButton, Qt::NoModifier);
        view.dropEvent(&external);
        QVERIFY(external.isAccepted());
        QCOMPARE(model.filePaths(), QStringList({"d", "/drop/x.mcs", "a", "b", "c"}));
        QCOMPARE(unsupported.count(), 1);
        QCOMPARE(unsupported.first().first().toStringList(), QStringList({"/drop/y.zip"}));
    }

    void runningRowShowsTheAnimation()
    {
        TreeModel model(nullptr, false);
        model.AppendRows({"a", "b", "c"});
        auto decoration = [&model](int row, int column = TreeModel::TaskNumber) {
            return model.data(model.index(row, column), Qt::DecorationRole).value<QPixmap>();
        };
        QVERIFY(decoration(1).isNull());

        model.setRunningRow(1);
        QVERIFY(!decoration(1).isNull());
        QVERIFY(decoration(0).isNull());
        QVERIFY(decoration(2).isNull());
        QVERIFY(decoration(1, TreeModel::FilePath).isNull());

        QSignalSpy frames(&model, &QAbstractItemModel::dataChanged);
        QVERIFY(frames.wait(Wait));
        const QModelIndex changed = frames.first().at(0).toModelIndex();
        QCOMPARE(changed, model.index(1, TreeModel::TaskNumber));
        QCOMPARE(frames.first().at(1).toModelIndex(), changed);

        // The animation stays with its task when the tasks move.
        QVERIFY(model.moveTask(1, 1));
        QCOMPARE(model.runningRow(), 2);
        QVERIFY(!decoration(2).isNull());
        QVERIFY(decoration(1).isNull());

        model.setRunningRow(-1);
        QVERIFY(decoration(2).isNull());
    }
};

QTEST_MAIN(TestTaskModel)
#include "tst_taskmodel.moc"
