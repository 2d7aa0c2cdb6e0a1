// SPDX-License-Identifier: LGPL-3.0-or-later
#include "testenv.h"

#include "resources/initresources.h"
#include "updater/core/firmwarename.h"
#include "updater/core/toollocator.h"
#include "updater/core/updatercommands.h"
#include "updater/core/updatermacros.h"

#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

namespace {

bool writeFile(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write("#!/bin/sh\n") > 0;
}

} // namespace

class TestUpdaterCore : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { initResources(); }

    void deviceListParsing()
    {
        const QString output = QStringLiteral("VRXUpdater 3.2 - scanning...\r\n"
                                              "Device 0: VRX14 SN 01234 \r\n"
                                              "  device #1 - VRX7 SN 7\n"
                                              "2:VRX3X rev B\n"
                                              "Found 3 devices\n"
                                              "3:   \n");
        QCOMPARE(UpdaterCommands::parseDeviceList(output),
                 QStringList({"0: VRX14 SN 01234", "1: VRX7 SN 7", "2: VRX3X rev B"}));
        QVERIFY(UpdaterCommands::parseDeviceList(QString()).isEmpty());
    }

    void deviceEntries_data()
    {
        QTest::addColumn<QString>("entry");
        QTest::addColumn<int>("number");
        QTest::addColumn<QString>("family");
        QTest::newRow("listed") << "0: VRX14 SN 01234" << 0 << "VRX14";
        QTest::newRow("leading blanks") << "  12: vrx7-board" << 12 << "VRX7";
        QTest::newRow("sysman") << "3: VRXSM" << 3 << "VRXSM";
        QTest::newRow("first family wins") << "4: vrx3x/VRX8" << 4 << "VRX3X";
        QTest::newRow("word must start with it") << "5: MYVRX7 VRX-7" << 5 << "VRX";
        QTest::newRow("no family") << "7: unknown" << 7 << "";
        for (const char *entry : {"Choose Device", "Please Refresh", " - ", ""})
            QTest::addRow("'%s'", entry) << QString(entry) << -1 << "";
        QTest::newRow("file name") << "/fw/VRX12_FW_r3.mcs" << -1 << "VRX12";
    }

    void deviceEntries()
    {
        QFETCH(QString, entry);
        QFETCH(int, number);
        QFETCH(QString, family);
        QCOMPARE(UpdaterCommands::deviceNumber(entry), number);
        QCOMPARE(UpdaterCommands::deviceFamily(entry), family);
    }

    void builtInMacrosAreOffered()
    {
        QStringList labels;
        for (const UpdaterMacro &macro : UpdaterMacros::builtIn())
            labels << macro.label;
        QCOMPARE(
            labels,
            QStringList({"Custom...", "Erase & Update V5/V6/VRX14/VRX12", "Upload Licence",
                         "Update VRX7/VRX8/VRX3X Image 0", "Update VRX7/VRX8/VRX3X Image 1",
                         "Update VRX7/VRX8/VRX3X Image 2", "Update VRX7/VRX8/VRX3X Image 3",
                         "Update ConMan VRX7/VRX8", "Update SysMan VRX3X", "Update V6 Primary",
                         "Update V6 Secondary", "Update V5 ALG", "Update V5 COMM",
                         "Update V5 Primary", "Update V5 Secondary", "Verify V5/V6/VRX14/VRX12"}));
        QCOMPARE(UpdaterMacros::builtIn().at(0).command, QString());
        QCOMPARE(UpdaterMacros::builtIn().at(5).command,
                 QStringLiteral("VRXUpdater -d%dv -i2 -eu --file=\"%fp\" --imagedescr %descr "
                                "--imagerev %ver"));
    }

    void macroListParsing_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QStringList>("expected");
        const auto row = [](const char *name, const char *text, const QStringList &expected) {
            QTest::newRow(name) << QByteArray(text) << expected;
        };
        row("lone LF and no final end", "A; x 1\nB; y", {"A|x 1", "B|y"});
        row("blank lines skipped", "\r\n  \r\nA; x\r\n\t\n", {"A|x"});
        row("label trimmed, end trimmed", "  Label A ; cmd \t \r\n", {"Label A|cmd"});
        row("one leading blank only", "A;  x\r\n", {"A| x"});
        row("no blank after semicolon", "A;x", {"A|x"});
        row("first semicolon splits", "A; x; y\r\n", {"A|x; y"});
        row("line without semicolon skipped", "just text\r\nA; x\r\n", {"A|x"});
    }

    void macroListParsing()
    {
        QFETCH(QByteArray, text);
        QFETCH(QStringList, expected);
        QStringList macros; // "label|command" each
        for (const UpdaterMacro &macro : UpdaterMacros::parseList(text))
            macros << macro.label + QLatin1Char('|') + macro.command;
        QCOMPARE(macros, expected);
    }

    void toolCommands_data()
    {
        QTest::addColumn<QString>("command");
        QTest::addColumn<QStringList>("expected"); // the tool, then its arguments; none: error
        // Quotes in a file name must not end the group the macro puts the path in.
        QTest::newRow("quotes in the file name")
            << UpdaterMacros::expand(QStringLiteral("VRXUpdater -d%dv --file=\"%fp\" -eu"),
                                     {"0", "/fw/a \"b\" \"\".mcs", "", ""})
            << QStringList({"VRXUpdater", "-d0", "--file=/fw/a \"b\" \"\".mcs", "-eu"});
        QTest::newRow("quote first and last in the file name")
            << UpdaterMacros::expand(QStringLiteral("VRXLicenseUtil \"%1\" %1"),
                                     {"0", "\"x y\"", "", ""})
            << QStringList({"VRXLicenseUtil", "\"x y\"", "\"x", "y\""});
        for (const char *command : {"", "   ", "vrxupdater -d0", "rm -rf /tmp/x"})
            QTest::addRow("error: '%s'", command) << QString(command) << QStringList();
    }

    void toolCommands()
    {
        QFETCH(QString, command);
        QFETCH(QStringList, expected);
        const ToolCommand result = UpdaterMacros::toToolCommand(command);
        const QString error = QStringLiteral("ERROR: No external tool specified in macro!\n");
        QCOMPARE(result.error, expected.isEmpty() ? error : QString());
        QCOMPARE(result.tool, expected.value(0));
        QCOMPARE(result.arguments, expected.mid(1));
    }

    void familyCommands_data()
    {
        QTest::addColumn<QString>("family");
        QTest::addColumn<QString>("file");
        QTest::addColumn<bool>("i2c");
        QTest::addColumn<QString>("expected");
        const auto row = [](const char *family, const char *file, bool i2c, QString expected) {
            if (i2c)
                expected += QStringLiteral(" --if=i2c");
            QTest::addRow("%s %s%s", family, file, i2c ? " i2c" : "")
                << QString(family) << QString(file) << i2c << expected;
        };
        const QString conman = QStringLiteral("VRXUpdater -d%dv --fpga=2 -eu --file=\"%fp\"");
        const QString sysman = QStringLiteral("VRXUpdater -d%dv --sysman -eu --file=\"%fp\"");
        const QString image = QStringLiteral(
            "VRXUpdater -d%dv -i3 -eu --file=\"%fp\" --imagedescr %descr --imagerev %ver");
        row("VRX7", "/a/x.mmcs", false, conman);
        row("VRX8", "/a/x.MMCS", true, conman);
        row("VRX14", "/a/x.mmcs", false, image);
        row("VRX3", "/a/x.Zip", false, sysman);
        row("VRX3X", "x.zip", true, sysman);
        row("VRX7", "/a/x.zip", false, image);
        row("VRX14", "/a.b/x.mcs", true, image);
        row("", "x.mmcs", false, image);
    }

    void familyCommands()
    {
        QFETCH(QString, family);
        QFETCH(QString, file);
        QFETCH(bool, i2c);
        QFETCH(QString, expected);
        QCOMPARE(UpdaterMacros::familyCommand(family, file, 3, i2c), expected);
    }

    void userValues_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("description");
        QTest::addColumn<bool>("version");
        QTest::newRow("empty") << "" << false << false;
        QTest::newRow("32-bit maximum") << "4294967295" << true << true;
        QTest::newRow("beyond 32 bits") << "4294967296" << true << false;
        QTest::newRow("very long number") << "123456789012345678901" << false << false;
        QTest::newRow("leading zeros") << "0007" << true << true;
        QTest::newRow("sign") << "+7" << true << false;
        QTest::newRow("16 characters") << "FW_2CH_10GS_8C_X" << true << false;
        QTest::newRow("17 characters") << "FW_2CH_10GS_8C_XY" << false << false;
        for (const char *text : {"FW 2CH", "FW\t", "FW\"", "FW'"})
            QTest::addRow("'%s'", text) << QString(text) << false << false;
        QTest::newRow("arabic-indic digit") << QString::fromUtf8("4\xd9\xa3") << true << false;
    }

    void userValues()
    {
        QFETCH(QString, text);
        QFETCH(bool, description);
        QFETCH(bool, version);
        QCOMPARE(UpdaterMacros::isValidDescription(text), description);
        QCOMPARE(UpdaterMacros::isValidVersion(text), version);
    }

    void locateTool()
    {
        QTemporaryDir program;
        QTemporaryDir installDir;
        const QString installed = installDir.path() + "/vrxupdater";
        const QString local = program.path() + "/vrxupdater";
        const auto locate = [&] {
            return ToolLocator::locate("VRXUpdater", installed, program.path());
        };
        // The messages for a missing and an installed tool are checked in the panel's console.
        QCOMPARE(locate().kind, ToolLocation::Missing);
        QCOMPARE(locate().path, QString());
        // A directory of the tool's name beside the program is no tool.
        QVERIFY(QDir(program.path()).mkdir("vrxupdater"));
        QVERIFY(writeFile(installed));
        QCOMPARE(locate().kind, ToolLocation::Installed);
        QCOMPARE(locate().path, installed);

        QVERIFY(QDir(program.path()).rmdir("vrxupdater"));
        QVERIFY(writeFile(local));
        QCOMPARE(locate().kind, ToolLocation::Local);
        QCOMPARE(locate().path, local);
        QCOMPARE(locate().message, "NOTE : Using local VRXUpdater: " + local + "\n\n");
        // The local copy is found by the installed file's name even when that one is gone.
        QVERIFY(QFile::remove(installed));
        QCOMPARE(locate().kind, ToolLocation::Local);
    }

    void firmwareNames_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<QString>("family");
        QTest::addColumn<QString>("description");
        QTest::addColumn<QString>("version");
        const auto row = [](const char *name, const char *file, const char *family,
                            const char *description, const char *version) {
            QTest::newRow(name) << QString(file) << QString(family) << QString(description)
                                << QString(version);
        };
        row("vrx14", "VRX14_FW_2CH_10GS_r45123.mcs", "VRX14", "FW_2CH_10GS", "45123");
        row("lower case, dashes", "vrx7-fw-1ch-5gs-4x-rev1234.mmcs", "VRX7", "FW_1CH_5GS_4X",
            "1234");
        row("no family, plain number", "FW_8A_2X_54321.mcs", "", "FW_8A_2X", "54321");
        row("v prefix", "VRX412_FW_4CH_5GS_8C_v77.mcs", "VRX412", "FW_4CH_5GS_8C", "77");
        row("sysman", "VRXSM_sysman_r12.zip", "VRXSM", "", "12");
        row("nothing", "firmware.mcs", "", "", "");
        row("description too long", "VRX14_FW_2CH_10GS_8C_4X_2X_r1.mcs", "VRX14", "", "1");
        row("blanks, leading zeros", "VRX7 FW r00042.mcs", "VRX7", "FW", "42");
        row("dots, first family", "VRX3X.fw.2ch.VRX7.v5.mcs", "VRX3X", "FW_2CH", "5");
        row("path ignored", "/home/u/VRX9_FW_1CH_r5/build_2/VRX14_FW_2CH_r8.mcs", "VRX14", "FW_2CH",
            "8");
        row("path only", "/fw/VRX14_FW_2CH_r8/image.mcs", "", "", "");
        row("look-alikes", "VRX14_FWX_2CHX_r5a_8A.mcs", "VRX14", "8A", "");
    }

    void firmwareNames()
    {
        QFETCH(QString, file);
        QFETCH(QString, family);
        QFETCH(QString, description);
        QFETCH(QString, version);
        const FirmwareName name = parseFirmwareName(file);
        QCOMPARE(name.family, family);
        QCOMPARE(name.description, description);
        QCOMPARE(name.version, version);
    }
};

QTEST_APPLESS_MAIN(TestUpdaterCore)
#include "tst_updatercore.moc"
