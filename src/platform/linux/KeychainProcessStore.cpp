#include "platform/linux/KeychainProcessStore.h"

#include "base/AppNames.h"
#include "platform/linux/KeychainRequests.h"
#include "platform/linux/UserLock.h"

#include <QCoreApplication>
#include <QCoroSignal>
#include <QCoroTimer>
#include <QDeadlineTimer>
#include <QFileInfo>
#include <QPointer>
#include <QProcess>
#include <QTimer>
#include <fcntl.h>

using namespace keychain_requests;

namespace {

constexpr int flushLimitMs = 5'000;
constexpr int stopLimitMs = 1'000;

void startHelper(QProcess &helper, const QString &program, const QString &service)
{
    helper.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    helper.start(program, {service});
}

// A helper that has answered may still be tearing down; it goes on its own, or is stopped.
void letGo(QProcess *helper)
{
    if (helper->state() == QProcess::NotRunning) {
        delete helper;
        return;
    }
    QObject::connect(helper, &QProcess::finished, helper, &QObject::deleteLater);
    QTimer::singleShot(stopLimitMs, helper, &QProcess::kill);
    // A one-shot run that ends meanwhile stops it first: its answer is in already.
    QObject::connect(QCoreApplication::instance(), &QCoreApplication::aboutToQuit, helper,
                     [helper] {
                         helper->kill();
                         helper->waitForFinished(stopLimitMs);
                     });
}

// The helper's answer line, or what came before it stopped or the limit ran out.
QCoro::Task<QByteArray> answerOf(QProcess *helper, std::chrono::milliseconds limit)
{
    // Fires at the limit, or at once when the helper has something to say or stops.
    QTimer wake;
    wake.setSingleShot(true);
    const auto wakeUp = [&wake] { wake.start(0); };
    QObject::connect(helper, &QProcess::readyReadStandardOutput, &wake, wakeUp);
    QObject::connect(helper, &QProcess::finished, &wake, wakeUp);
    QObject::connect(helper, &QProcess::errorOccurred, &wake, wakeUp);

    const QDeadlineTimer deadline(limit);
    QByteArray output = helper->readAllStandardOutput();
    while (!output.contains('\n') && !deadline.hasExpired() &&
           helper->state() != QProcess::NotRunning) {
        if (!wake.isActive())
            wake.start(int(deadline.remainingTime()));
        co_await qCoro(wake).waitForTimeout();
        output += helper->readAllStandardOutput();
    }
    co_return output;
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
    const QString name = QString::fromLatin1(app_names::keychainHelper);
    const QString beside = QCoreApplication::applicationDirPath() + u'/' + name;
    if (QFileInfo(beside).isExecutable())
        return beside;
    return QCoreApplication::applicationDirPath() + QStringLiteral("/" MIREO_LIBEXEC_FROM_BIN "/") +
           name;
}

QCoro::Task<SecretStore::Read> KeychainProcessStore::read(QString key)
{
    QPointer<KeychainProcessStore> self(this);
    // Our own writes first, so a read sees them.
    co_await writesSettled(m_asked);
    if (!self)
        co_return Read{};
    // Owned by the application, which ends a helper still tearing down when it ends itself.
    auto *helper = new QProcess(QCoreApplication::instance());
    startHelper(*helper, m_program, m_service);
    helper->write(encode({Kind::Read, key, {}}));
    helper->closeWriteChannel();
    const QByteArray output = co_await answerOf(helper, m_readLimit);
    letGo(helper);
    const ReadAnswer answer = decodeReadAnswer(output);
    co_return Read{answer.answered, answer.value};
}

QCoro::Task<> KeychainProcessStore::replace(QString key, QString value)
{
    return send(encode({Kind::Replace, key, value}));
}

QCoro::Task<> KeychainProcessStore::remove(QString key)
{
    return send(encode({Kind::Remove, key, {}}));
}

QCoro::Task<std::unique_ptr<SecretStore::Hold>> KeychainProcessStore::hold()
{
    struct LockHold final : Hold
    {
        std::unique_ptr<UserLock> lock;
        QPointer<KeychainProcessStore> store;
        ~LockHold() override
        {
            if (store)
                store->m_heldLock = -1;
        }
    };
    QPointer<KeychainProcessStore> self(this);
    std::unique_ptr<UserLock> lock = co_await UserLock::acquire(
        QStringLiteral("%1-%2.lock").arg(QLatin1StringView(app_names::keychainHelper), m_service),
        m_holdPatience);
    if (!self || !lock)
        co_return std::unique_ptr<Hold>();
    auto held = std::make_unique<LockHold>();
    m_heldLock = lock->fileDescriptor();
    held->lock = std::move(lock);
    held->store = this;
    co_return held;
}

QCoro::Task<> KeychainProcessStore::send(QByteArray request)
{
    m_unsent << std::move(request);
    const quint64 ticket = ++m_asked;
    if (!m_writer)
        startNextWriter();
    return writesSettled(ticket);
}

QCoro::Task<> KeychainProcessStore::writesSettled(quint64 ticket)
{
    QPointer<KeychainProcessStore> self(this);
    while (self && m_finished < ticket)
        co_await qCoro(this, &KeychainProcessStore::writesFinished);
}

// One helper carries everything asked for since the last one started, in order; the next
// starts when it is done, so a later write never overtakes an earlier one.
void KeychainProcessStore::startNextWriter()
{
    if (m_unsent.isEmpty())
        return;
    const QByteArray batch = m_unsent.join();
    m_carried += quint64(m_unsent.size());
    m_unsent.clear();
    auto *writer = new QProcess(this);
    m_writer = writer;
    // Once per writer, from whichever signal comes first; it may come inside the waits below.
    const auto done = [this, writer, carried = m_carried] {
        if (m_writer != writer)
            return;
        writer->deleteLater();
        m_writer = nullptr;
        m_finished = carried;
        Q_EMIT writesFinished(m_finished);
        startNextWriter();
    };
    connect(writer, &QProcess::finished, this, done);
    connect(writer, &QProcess::errorOccurred, this, [done](QProcess::ProcessError error) {
        if (error == QProcess::FailedToStart)
            done();
    });
    // A writer under a hold keeps the lock open: should this process die before the write has
    // landed, the next process waits for it instead of reading the token it replaces.
    if (const int lock = m_heldLock; lock >= 0)
        writer->setChildProcessModifier([lock] { ::fcntl(lock, F_SETFD, 0); });
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
