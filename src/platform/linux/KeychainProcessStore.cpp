#include "platform/linux/KeychainProcessStore.h"

#include "platform/linux/KeychainRequests.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QFileInfo>
#include <QProcess>

using namespace keychain_requests;

namespace {

// A locked keychain may ask the user to unlock it; give them time, but never hang for good.
constexpr int firstReadLimitMs = 25'000;
constexpr int flushLimitMs = 5'000;
constexpr int stopLimitMs = 1'000;

void startHelper(QProcess &helper, const QString &program, const QString &service)
{
    helper.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    helper.start(program, {service});
}

} // namespace

KeychainProcessStore::KeychainProcessStore(QString helperProgram, QString service, QObject *parent)
    : QObject(parent), m_program(std::move(helperProgram)), m_service(std::move(service))
{
}

KeychainProcessStore::~KeychainProcessStore()
{
    flush();
}

QString KeychainProcessStore::installedHelper()
{
    const QString name = QStringLiteral("mireo-pulse-keychain");
    const QString beside = QCoreApplication::applicationDirPath() + u'/' + name;
    if (QFileInfo(beside).isExecutable())
        return beside;
    return QCoreApplication::applicationDirPath() + QStringLiteral("/" MIREO_LIBEXEC_FROM_BIN "/") +
           name;
}

std::optional<QString> KeychainProcessStore::read(const QString &key)
{
    const auto known = m_mirror.constFind(key);
    if (known != m_mirror.cend())
        return *known;

    // Waiting without an event loop: nothing else runs inside a read.
    QProcess helper;
    startHelper(helper, m_program, m_service);
    helper.write(encode({Kind::Read, key, {}}));
    helper.closeWriteChannel();
    // The answer is one line; the helper's own exit is not waited for beyond a moment.
    QByteArray output;
    const QDeadlineTimer deadline(firstReadLimitMs);
    while (!output.contains('\n') && !deadline.hasExpired()) {
        if (!helper.waitForReadyRead(int(deadline.remainingTime())) &&
            helper.state() == QProcess::NotRunning)
            break;
        output += helper.readAllStandardOutput();
    }
    output += helper.readAllStandardOutput();
    if (!helper.waitForFinished(stopLimitMs))
        helper.kill();
    helper.waitForFinished(stopLimitMs);

    const ReadAnswer answer = decodeReadAnswer(output);
    // A keychain that never answered is asked again next time; a clear answer is kept.
    if (answer.answered)
        m_mirror.insert(key, answer.value);
    return answer.value;
}

void KeychainProcessStore::replace(const QString &key, const QString &value)
{
    m_mirror.insert(key, value);
    send(encode({Kind::Replace, key, value}));
}

void KeychainProcessStore::remove(const QString &key)
{
    m_mirror.insert(key, std::nullopt);
    send(encode({Kind::Remove, key, {}}));
}

void KeychainProcessStore::send(QByteArray request)
{
    m_unsent << std::move(request);
    if (!m_writer)
        startNextWriter();
}

// One helper carries everything asked for since the last one started, in order; the next
// starts when it is done, so a later write never overtakes an earlier one.
void KeychainProcessStore::startNextWriter()
{
    if (m_unsent.isEmpty())
        return;
    const QByteArray batch = m_unsent.join();
    m_unsent.clear();
    auto *writer = new QProcess(this);
    m_writer = writer;
    // Once per writer, from whichever signal comes first; it may come inside the waits below.
    const auto done = [this, writer] {
        if (m_writer != writer)
            return;
        writer->deleteLater();
        m_writer = nullptr;
        startNextWriter();
    };
    connect(writer, &QProcess::finished, this, done);
    connect(writer, &QProcess::errorOccurred, this, [done](QProcess::ProcessError error) {
        if (error == QProcess::FailedToStart)
            done();
    });
    startHelper(*writer, m_program, m_service);
    writer->write(batch); // kept until the helper runs, should that take longer
    // The requests are in the pipe before this returns: a helper outlives an app killed a
    // moment later and still carries them out. Both waits take a few milliseconds.
    if (writer->waitForStarted(stopLimitMs))
        writer->waitForBytesWritten(stopLimitMs);
    writer->closeWriteChannel();
}

void KeychainProcessStore::flush()
{
    const QDeadlineTimer deadline(flushLimitMs);
    // Each finished writer starts the next one from its signal, inside the wait.
    while (m_writer && !deadline.hasExpired()) {
        QProcess *writer = m_writer;
        if (!writer->waitForFinished(int(deadline.remainingTime())) && m_writer == writer)
            break;
    }
}
