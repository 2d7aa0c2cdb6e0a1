// Wire codec, texts and command stream of the monitor, without sockets.
#include "testenv.h"

#include "monitor/core/vrxmonprotocol.h"
#include "vrxclient.h"

#include <QTemporaryFile>
#include <QtTest>

#include <climits>
#include <cstring>
#include <unistd.h>

using namespace VrxProto;

class TstVrxMonProtocol : public QObject
{
    Q_OBJECT

private:
    static ClientIdRecord sampleRecord()
    {
        ClientIdRecord r{};
        r.processId = 4711;
        r.cuHandle = 0xdeadbeefULL;
        r.devAddr = 0x1a2bULL;
        r.devNumber = 3;
        std::memcpy(r.validationId, "OKAV", 4);
        std::strcpy(r.interfaceName, "PCIe");
        std::strcpy(r.devType, "VRX14");
        return r;
    }

    static QByteArray feedAll(CmdMatcher &m, const QByteArray &bytes, QList<QByteArray> *out)
    {
        for (char c : bytes)
            if (feedMatcher(m, c)) {
                out->append(commandText(m));
                resetMatcher(m);
            }
        return QByteArray();
    }

private slots:
    void clientKitEncodesTheSameRecord()
    {
        vrxclient_id id{4711, 0xdeadbeefULL, 0x1a2bULL, 3, "PCIe", "VRX14"};
        unsigned char raw[VRXCLIENT_ID_SIZE];
        vrxclient_encode_id(&id, raw);
        QCOMPARE(QByteArray(reinterpret_cast<const char *>(raw), 100),
                 encodeClientId(sampleRecord()));
    }

    void clientIdFailures_data()
    {
        QTest::addColumn<int>("length");
        QTest::addColumn<QByteArray>("validation");
        QTest::addColumn<QString>("message");
        QTest::newRow("99 bytes") << 99 << QByteArray("OKAV")
                                  << "ERROR: Could not establish client ID. ID length (99) or "
                                     "ValidationID (OKAV) not match!\n";
        QTest::newRow("101 bytes") << 101 << QByteArray("OKAV")
                                   << "ERROR: Could not establish client ID. ID length (101) or "
                                      "ValidationID (OKAV) not match!\n";
        QTest::newRow("validation") << 100 << QByteArray("OKAX")
                                    << "ERROR: Could not establish client ID. ID length (100) or "
                                       "ValidationID (OKAX) not match!\n";
    }
    void clientIdFailures()
    {
        QFETCH(int, length);
        QFETCH(QByteArray, validation);
        QFETCH(QString, message);
        QByteArray wire = encodeClientId(sampleRecord());
        wire.replace(32, 4, validation);
        wire.resize(length);
        const ClientIdDecode d = decodeClientId(wire.constData(), wire.size());
        QVERIFY(!d.valid);
        QCOMPARE(d.errorText, message);
    }

    void temporaryIdentity()
    {
        const ClientIdRecord t = temporaryClientId(17, 0);
        QCOMPARE(t.processId, quint64(17));
        QCOMPARE(t.cuHandle, quint64(0));
        QCOMPARE(t.devAddr, quint64(0));
        QCOMPARE(t.devNumber, quint64(0));
        QCOMPARE(fieldText(t.interfaceName, 32), QStringLiteral("NA0"));
        QCOMPARE(fieldText(t.devType, 32), QStringLiteral("NA"));
        QCOMPARE(fieldText(temporaryClientId(9, 12).interfaceName, 32), QStringLiteral("NA12"));
    }

    void serverTimestampFormat()
    {
        // 2023-01-02T03:04:05 UTC
        const qint64 t = 1672628645;
        QCOMPARE(formatServerTimestamp(t, 0), QByteArray("[2023-01-02T03:04:05.000Z] "));
        QCOMPARE(formatServerTimestamp(t, 7999), QByteArray("[2023-01-02T03:04:05.007Z] "));
        QCOMPARE(formatServerTimestamp(t, 999999), QByteArray("[2023-01-02T03:04:05.999Z] "));
        // The guard: a millisecond value past 999 carries into the seconds.
        QCOMPARE(formatServerTimestamp(t, 1000000), QByteArray("[2023-01-02T03:04:06.000Z] "));
        QCOMPARE(serverTimestamp().size(), 27);
        QVERIFY(isClientTimestamp(serverTimestamp().constData(), 27));
    }

    void clientTimestampRecognition()
    {
        const QByteArray ts("[2024-05-06T07:08:09.123Z] ");
        QVERIFY(isClientTimestamp(ts.constData(), std::size_t(ts.size())));
        QVERIFY(!isClientTimestamp(ts.constData(), 26));
        QByteArray blankT = ts;
        blankT[11] = ' ';
        QVERIFY(!isClientTimestamp(blankT.constData(), std::size_t(blankT.size())));
        // Digits are never examined.
        QByteArray letters("[abcd-ef-ghTij:kl:mn.opqZ] ");
        QVERIFY(isClientTimestamp(letters.constData(), std::size_t(letters.size())));
        char kit[VRXCLIENT_TIMESTAMP_LEN + 1];
        vrxclient_format_timestamp(kit);
        QVERIFY(isClientTimestamp(kit, VRXCLIENT_TIMESTAMP_LEN));
    }

    void prompts()
    {
        const ClientTexts t = clientTexts(sampleRecord());
        QCOMPARE(t.prompt, QStringLiteral("0x1A2B/VRX14@0xDEADBEEF/3/PCIe> "));
        QCOMPARE(t.promptEmptyLine, QStringLiteral("0x1A2B/VRX14@0xDEADBEEF/3/PCIe>"));
        QCOMPARE(t.promptNoHexMark, QStringLiteral("0x1A2B/VRX14@DEADBEEF/3/PCIe> "));

        QTemporaryFile comm;
        QVERIFY(comm.open());
        comm.write("grabber\n");
        comm.close();
        QCOMPARE(monitorPrompt(99, comm.fileName()), QStringLiteral("99/grabber> "));
        QCOMPARE(monitorPrompt(99, QStringLiteral("/nonexistent/comm")),
                 QStringLiteral("99/Unknown> "));
        QVERIFY(ownMonitorPrompt().startsWith(QString::number(getpid()) + QLatin1Char('/')));
        QVERIFY(ownMonitorPrompt().endsWith(QStringLiteral("> ")));
    }

    void processPathAndPlotPrefix()
    {
        QVERIFY(processPath(quint64(getpid())).endsWith("tst_vrxmonprotocol"));
        QCOMPARE(processPath(0xFFFFFFFFFFULL), QByteArray("Process path cannot be determined"));
        QCOMPARE(plotPrefix(4711, "/opt/acq/bin/grabber"), QByteArray("4711, /opt/acq/bin/grabber,"));
    }

    void connectAndDisconnectTextsCarryTheSameFields()
    {
        const QString c = connectText(sampleRecord(), "/bin/x", "127.0.0.1", 40000, true);
        const QString d = connectText(sampleRecord(), "/bin/x", "127.0.0.1", 40000, false);
        QCOMPARE(c, QStringLiteral("CONNECTED! Client ID: \n[Process ID: 4711]\n[VRXCU: 0xDEADBEEF]\n"
                                   "[Interface: PCIe]\n[DevAddr: 0x1A2B]\n[Dev#: 3]\n[DevType: VRX14]\n"
                                   "[Path: /bin/x]\n[IP: 127.0.0.1]\n[Port: 40000]\n\n"));
        QVERIFY(d.startsWith(QStringLiteral("DISCONNECTED! Removing client: \n")));
        QCOMPARE(c.mid(c.indexOf(QLatin1Char('\n'))), d.mid(d.indexOf(QLatin1Char('\n'))));
    }

    void lineSplitting()
    {
        const QByteArray data("a\r\nb\0c\nrest", 11);
        const QList<LinePiece> p = splitLines(data.constData(), std::size_t(data.size()));
        QCOMPARE(p.size(), 4);
        QCOMPARE(data.mid(int(p[0].start), int(p[0].length)), QByteArray("a\r\n")); // one end
        QCOMPARE(data.mid(int(p[1].start), int(p[1].length)), QByteArray("b\0", 2));
        QCOMPARE(data.mid(int(p[2].start), int(p[2].length)), QByteArray("c\n"));
        QCOMPARE(data.mid(int(p[3].start), int(p[3].length)), QByteArray("rest"));
        QVERIFY(p[0].ended && p[1].ended && p[2].ended && !p[3].ended);
        QVERIFY(splitLines("", 0).isEmpty());
        QCOMPARE(splitLines("\n\n", 2).size(), 2);
    }

    void matcherFindsCommandsAnywhere()
    {
        CmdMatcher m;
        resetMatcher(m);
        QList<QByteArray> cmds;
        // A mismatch starts the token over: neither "RRunCmd(" nor "))" ends a match.
        feedAll(m, "text RunCmd( 7, x);\nRRunCmd(1,a());RunCmd(1,a());\n"
                   "RunCmd(1,b) ;);more RunCmd(abc\0junk);", &cmds);
        QCOMPARE(cmds.size(), 2);
        QCOMPARE(cmds[0], QByteArray(" 7, x"));
        QCOMPARE(cmds[1], QByteArray("1,a());\nRunCmd(1,b) ;"));
        // The third closes only with the next batch; a NUL cuts the text.
        feedAll(m, QByteArray("abc\0junk);", 10), &cmds);
        QCOMPARE(cmds.size(), 3);
    }

    void commands()
    {
        const QByteArray prefix("4711, /opt/acq/bin/grabber,");
        CommandDecision d = parseCommand("abc", prefix);
        QCOMPARE(d.kind, CmdKind::Stop);
        QCOMPARE(d.message, QStringLiteral("NOTE : Stop command received!\n"));
        QCOMPARE(parseCommand("0", prefix).kind, CmdKind::Stop);
        QCOMPARE(parseCommand("", prefix).kind, CmdKind::Stop);
        QCOMPARE(parseCommand(" 0 , extra", prefix).kind, CmdKind::Stop);
        QCOMPARE(parseCommand("-1x", prefix).code, -1);
        QCOMPARE(parseCommand("99999999999", prefix).code, INT_MAX);

        d = parseCommand(" 1, Rec, 0x7f00, 2048, int16", prefix);
        QCOMPARE(d.kind, CmdKind::InsufficientParams);
        QCOMPARE(d.message,
                 QStringLiteral("ERROR: Insuffivient command parameters' Rec, 0x7f00, 2048, int16'.\n"));

        d = parseCommand(" 7", prefix);
        QCOMPARE(d.kind, CmdKind::Unknown);
        QCOMPARE(d.message, QStringLiteral("ERROR: Unknown command 'RunCmd('.\n"));

        d = parseCommand(" 1, Triggered_Streaming_Record, 0x7f00, 4096, int16, 1", prefix);
        QCOMPARE(d.kind, CmdKind::Plot);
        QCOMPARE(d.plotRequest, QStringLiteral("4711, /opt/acq/bin/grabber, Triggered_Streaming_Record, "
                                               "0x7f00, 4096, int16, 1"));
        QCOMPARE(d.fields.size(), 6);
        QCOMPARE(d.fields[1], QByteArray("Triggered_Streaming_Record"));
        // Empty fields are kept.
        QCOMPARE(parseCommand("1,,,,,", prefix).kind, CmdKind::Plot);
    }
};

QTEST_APPLESS_MAIN(TstVrxMonProtocol)
#include "tst_vrxmonprotocol.moc"
