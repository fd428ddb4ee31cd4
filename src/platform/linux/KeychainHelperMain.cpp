// mireo-pulse-keychain SERVICE: carries out the keychain requests read from standard input (until
// it ends), in order, and answers each read on standard output. The app starts it for every
// batch of keychain work, so the keychain's libraries and threads live only as long as the work.
#include "base/AppNames.h"
#include "platform/linux/KeychainRequests.h"
#include "platform/linux/KeychainSecretStore.h"

#include <QCoreApplication>
#include <cerrno>
#include <cstdio>
#include <unistd.h>

namespace {

// A batch is a handful of lines; anything larger is not from the app.
constexpr qint64 requestLimitBytes = 64 * 1024;

// Everything up to the end of standard input, or nothing when it is too long.
QByteArray readRequests()
{
    QByteArray requests;
    char buffer[4096];
    for (;;) {
        const ssize_t got = ::read(STDIN_FILENO, buffer, sizeof buffer);
        if (got == 0)
            return requests;
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0 || requests.size() + got > requestLimitBytes)
            return {};
        requests.append(buffer, got);
    }
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() != 2 || arguments[1].isEmpty()) {
        std::fprintf(stderr, "usage: %s SERVICE (requests on standard input)\n",
                     app_names::keychainHelper);
        return 2;
    }
    const QByteArray requests = readRequests();

    using namespace keychain_requests;
    KeychainSecretStore keychain(arguments[1]);
    for (const QByteArray &line : requests.split('\n')) {
        const auto request = decodeRequest(line);
        if (!request)
            continue;
        switch (request->kind) {
        case Kind::Read: {
            const auto value = keychain.read(request->key);
            if (keychain.hasAnswered(request->key)) {
                const QByteArray answer = valueLine(value);
                std::fwrite(answer.constData(), 1, size_t(answer.size()), stdout);
            }
            std::fflush(stdout);
            break;
        }
        case Kind::Replace:
            keychain.replace(request->key, request->value);
            break;
        case Kind::Remove:
            keychain.remove(request->key);
            break;
        }
    }
    // Leaving waits for the writes to reach the keychain.
    return 0;
}
