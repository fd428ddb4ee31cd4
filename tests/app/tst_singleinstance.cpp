#include "app/SingleInstance.h"

#include <QCoreApplication>
#include <QFile>
#include <QLocalSocket>
#include <QProcess>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <cstdio>
#include <unistd.h>

using namespace std::chrono_literals;

namespace {
// The test binary doubles as a second launch: `--peer SOCKET [URL]`; it prints its role.
int runPeer(const QStringList &arguments)
{
    SingleInstance instance(arguments.at(2));
    const SingleInstance::Role role = instance.start(arguments.value(3));
    std::fputs(role == SingleInstance::Role::Forwarded ? "forwarded"
               : role == SingleInstance::Role::Primary ? "primary"
                                                       : "other",
               stdout);
    return role == SingleInstance::Role::Forwarded ? 0 : 3;
}

struct PeerResult
{
    int exitCode = -1;
    QByteArray out;
};

// Runs a second launch while this event loop keeps serving the first instance.
PeerResult launchPeer(const QString &socketPath, const std::optional<QString> &url)
{
    QProcess peer;
    QStringList arguments{"--peer", socketPath};
    if (url)
        arguments.append(*url);
    peer.start(QCoreApplication::applicationFilePath(), arguments);
    if (!QTest::qWaitFor([&] { return peer.state() == QProcess::NotRunning; }, 20000))
        qFatal("the second launch did not finish");
    return {peer.exitCode(), peer.readAllStandardOutput()};
}

const QString tokens = "mireopulse://auth#access_token=eyJ.a.b&refresh_token=r-1&expires_in=3600";
} // namespace

class TestSingleInstance : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    QString socketPath() const { return m_dir.filePath("instance.socket"); }

    struct Primary
    {
        SingleInstance instance;
        QSignalSpy urls{&instance, &SingleInstance::urlReceived};
        QSignalSpy toggles{&instance, &SingleInstance::toggleRequested};
        explicit Primary(const QString &path) : instance(path) {}
    };

private Q_SLOTS:
    void forwardsToTheFirstInstance_data()
    {
        QTest::addColumn<std::optional<QString>>("argument");
        QTest::addColumn<QStringList>("urls");
        QTest::addColumn<int>("toggles");
        QTest::newRow("sign-in redirect")
            << std::optional<QString>(tokens) << QStringList{tokens} << 0;
        QTest::newRow("no URL toggles") << std::optional<QString>() << QStringList{} << 1;
        QTest::newRow("another scheme counts as none")
            << std::optional<QString>("https://example.com/#access_token=x") << QStringList{} << 1;
        QTest::newRow("not a URL counts as none")
            << std::optional<QString>("mireopulse://a b") << QStringList{} << 1;
    }
    void forwardsToTheFirstInstance()
    {
        QFETCH(std::optional<QString>, argument);
        QFETCH(QStringList, urls);
        QFETCH(int, toggles);

        Primary first(socketPath());
        QCOMPARE(first.instance.start({}), SingleInstance::Role::Primary);
        first.instance.launchFinished();

        const PeerResult second = launchPeer(socketPath(), argument);
        QCOMPARE(second.out, QByteArray("forwarded"));
        QCOMPARE(second.exitCode, 0);
        QStringList received;
        for (const QList<QVariant> &call : std::as_const(first.urls))
            received.append(call.at(0).toString());
        QCOMPARE(received, urls);
        QCOMPARE(first.toggles.size(), toggles);
    }

    void waitsForLaunchToFinish()
    {
        Primary first(socketPath());
        QCOMPARE(first.instance.start(tokens), SingleInstance::Role::Primary);
        QCOMPARE(launchPeer(socketPath(), QString("mireopulse://open")).exitCode, 0);
        QCOMPARE(launchPeer(socketPath(), std::nullopt).exitCode, 0);
        QVERIFY(first.urls.isEmpty());
        QVERIFY(first.toggles.isEmpty());

        // The own URL first, then the forwarded ones, in order of arrival.
        QStringList order;
        connect(&first.instance, &SingleInstance::urlReceived, this,
                [&](const QString &url) { order.append(url); });
        connect(&first.instance, &SingleInstance::toggleRequested, this,
                [&] { order.append("toggle"); });
        first.instance.launchFinished();
        QCOMPARE(order, (QStringList{tokens, "mireopulse://open", "toggle"}));
    }

    void withoutAnInstanceTheLaunchBecomesIt()
    {
        const PeerResult lone = launchPeer(socketPath(), QString("mireopulse://open"));
        QCOMPARE(lone.out, QByteArray("primary"));
        // It closed its socket on exit: the next launch is first again.
        Primary next(socketPath());
        QCOMPARE(next.instance.start({}), SingleInstance::Role::Primary);
    }

    void aCrashedInstanceLeftItsSocket()
    {
        QFile stale(socketPath());
        QVERIFY(stale.open(QIODevice::WriteOnly));
        stale.close();
        Primary first(socketPath());
        QCOMPARE(first.instance.start({}), SingleInstance::Role::Primary);
        first.instance.launchFinished();
        QCOMPARE(launchPeer(socketPath(), QString("mireopulse://pulse")).exitCode, 0);
        QCOMPARE(first.urls.size(), 1);
    }

    // Lines that do not decode are dropped too: see the messages table.
    void badPeersAreDropped_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<bool>("hangUp");
        QTest::newRow("two lines")
            << QByteArray("mireopulse://open\nmireopulse://pulse\n") << false;
        QTest::newRow("too long, with a line end")
            << "mireopulse://auth#" + QByteArray(20000, 'a') + "\n"
            << false;
        QTest::newRow("too much, no line end") << QByteArray(100000, 'a') << false;
        QTest::newRow("silent") << QByteArray() << false;
        QTest::newRow("half a line, then gone") << QByteArray("mireopulse://open") << true;
    }
    void badPeersAreDropped()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(bool, hangUp);

        Primary first(socketPath());
        first.instance.setPeerTimeout(300ms);
        QCOMPARE(first.instance.start({}), SingleInstance::Role::Primary);
        first.instance.launchFinished();

        QLocalSocket peer;
        peer.connectToServer(socketPath());
        QVERIFY(peer.waitForConnected(2000));
        peer.write(bytes);
        if (hangUp)
            peer.disconnectFromServer();
        // Dropped at once, or at the latest by the time-out.
        QTRY_COMPARE_WITH_TIMEOUT(peer.state(), QLocalSocket::UnconnectedState, 3000);
        QVERIFY(!peer.readAll().contains("ok"));
        QVERIFY(first.urls.isEmpty());
        QVERIFY(first.toggles.isEmpty());

        // The first instance still serves the next launch.
        QCOMPARE(launchPeer(socketPath(), QString("mireopulse://open")).exitCode, 0);
        QCOMPARE(first.urls.size(), 1);
    }

    void messages_data()
    {
        QTest::addColumn<QByteArray>("line");
        QTest::addColumn<std::optional<QString>>("message");
        QTest::newRow("empty toggles") << QByteArray() << std::optional<QString>("");
        QTest::newRow("our URL") << QByteArray("mireopulse://open")
                                 << std::optional<QString>("mireopulse://open");
        QTest::newRow("non-ASCII fragment")
            << QByteArray("mireopulse://auth#error_description=N\xC3\xA3o")
            << std::optional<QString>(
                   QString::fromUtf8("mireopulse://auth#error_description=N\xC3\xA3o"));
        QTest::newRow("overlong UTF-8")
            << QByteArray("mireopulse://\xC0\xAF") << std::optional<QString>();
        QTest::newRow("tab") << QByteArray("mireopulse://open\t") << std::optional<QString>();
        QTest::newRow("DEL") << QByteArray("mireopulse://open\x7f") << std::optional<QString>();
    }
    void messages()
    {
        QFETCH(QByteArray, line);
        QFETCH(std::optional<QString>, message);
        QCOMPARE(decodeInstanceMessage(line), message);
    }

    void theSocketIsPrivateToTheUser()
    {
        SingleInstance first(socketPath());
        QCOMPARE(first.start({}), SingleInstance::Role::Primary);
        const QFile::Permissions others = QFile::ReadGroup | QFile::WriteGroup | QFile::ExeGroup |
                                          QFile::ReadOther | QFile::WriteOther | QFile::ExeOther;
        QCOMPARE(QFile::permissions(socketPath()) & others, QFile::Permissions());
        QVERIFY(SingleInstance::defaultSocketPath().contains(QString::number(::getuid())));
    }
};

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    if (app.arguments().value(1) == "--peer")
        return runPeer(app.arguments());
    TestSingleInstance test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_singleinstance.moc"
