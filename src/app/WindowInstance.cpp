// SPDX-License-Identifier: MIT
#include <tallywick/app/WindowInstance.h>

#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QLocalServer>
#include <QLocalSocket>
#include <QTimer>
#include <cerrno>
#include <cstring>
#include <thread>

#include <tallywick/link/RuntimeDirectory.h>

namespace tallywick {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::string_view kRequest = "raise";
constexpr std::string_view kAnswer = "raised\n";
// A request is one short line; anything longer is not one of ours.
constexpr qsizetype kRequestLimit = 4096;
constexpr int kRequestPatienceMs = 2000;

std::string errnoText(const std::string& what) {
    return what + ": " + std::strerror(errno);
}

// An activation token is printable ASCII without spaces; anything else is not
// passed on to the compositor.
bool plausibleToken(std::string_view token) {
    for (const char c : token) {
        if (c <= ' ' || c > '~') return false;
    }
    return true;
}

class Socket {
public:
    Socket() : fd_(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {}
    ~Socket() { release(); }
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;
    int fd() const { return fd_; }
    int take() { return std::exchange(fd_, -1); }
    void release() {
        if (fd_ >= 0) ::close(std::exchange(fd_, -1));
    }

private:
    int fd_;
};

// Waits for the fd to be ready for `events` until the deadline; false on timeout or error.
bool waitFor(int fd, short events, Clock::time_point deadline) {
    for (;;) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
        if (left.count() <= 0) return false;
        pollfd entry{fd, events, 0};
        const int ready = ::poll(&entry, 1, static_cast<int>(left.count()));
        if (ready > 0) return true;
        if (ready < 0 && errno != EINTR) return false;
    }
}

// One request and its answer over a connected socket; the reason when it failed.
Result<void, std::string> askToRaise(int fd, const std::string& token, Clock::time_point deadline) {
    std::string request(kRequest);
    if (!token.empty()) request += " " + token;
    request += "\n";
    if (::send(fd, request.data(), request.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(request.size()))
        return fail(errnoText("cannot send the request"));
    std::string answer;
    char buffer[64];
    while (answer.find('\n') == std::string::npos) {
        if (!waitFor(fd, POLLIN, deadline)) return fail(std::string("it did not answer in time"));
        const ssize_t count = ::recv(fd, buffer, sizeof buffer, 0);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return fail(std::string("it closed the connection without an answer"));
        answer.append(buffer, static_cast<std::size_t>(count));
        if (answer.size() > kAnswer.size()) break;
    }
    if (answer != kAnswer) return fail("it gave an answer that is not ours: " + answer.substr(0, 40));
    return {};
}

// The holder takes the lock before it binds, so a socket that is missing or
// refuses may still come up: connecting is retried until the deadline.
Result<void, std::string> raiseHolder(const SocketAddress& address, const std::string& token,
                                      Clock::time_point deadline) {
    std::string lastProblem = "nothing listens there";
    do {
        Socket socket;
        if (socket.fd() < 0) return fail(errnoText("cannot make a socket"));
        if (::connect(socket.fd(), address.data(), address.size()) == 0)
            return askToRaise(socket.fd(), token, deadline);
        if (errno != ENOENT && errno != ECONNREFUSED && errno != EAGAIN && errno != EINTR)
            return fail(errnoText("cannot connect"));
        lastProblem = errnoText("cannot connect");
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    } while (Clock::now() < deadline);
    return fail(std::move(lastProblem));
}

}  // namespace

WindowClaim::WindowClaim(WindowClaim&& other) noexcept
    : lock_(std::move(other.lock_)),
      address_(std::move(other.address_)),
      listener_(std::exchange(other.listener_, -1)) {}

WindowClaim::~WindowClaim() {
    if (listener_ >= 0) {
        ::close(listener_);
        address_.unlink();
    }
}

int WindowClaim::takeListener() {
    return std::exchange(listener_, -1);
}

std::string WindowInstance::folderPath(const std::string& runtimeDirectory) {
    return runtimeDirectory + "/window";
}

std::string WindowInstance::socketPath(const std::string& runtimeDirectory) {
    return folderPath(runtimeDirectory) + "/socket";
}

WindowInstance::Outcome WindowInstance::claim(const std::string& runtimeDirectory,
                                              const std::string& activationToken,
                                              std::chrono::milliseconds patience) {
    const auto deadline = Clock::now() + patience;
    const auto unclaimed = [](const std::string& problem) {
        return Unclaimed{"cannot look for a Tallywick window already open: " + problem +
                         "; opening another one (fix the runtime folder, or set "
                         "TALLYWICK_RUNTIME_DIR to a private folder)"};
    };
    for (const std::string& folder : {runtimeDirectory, folderPath(runtimeDirectory)}) {
        if (const auto prepared = prepareRuntimeDirectory(folder); !prepared.usable())
            return unclaimed(folder + ": " + prepared.problem);
    }
    auto address = SocketAddress::of(socketPath(runtimeDirectory));
    if (!address) return unclaimed(address.error());
    auto& socketAddress = *address;

    const std::string lockPath = folderPath(runtimeDirectory) + "/lock";
    auto lock = FileLock::acquire(lockPath, std::to_string(::getpid()));
    if (!lock) {
        const auto& refused = lock.error();
        if (!refused.heldByOther) return unclaimed(refused.reason);
        const std::string token = plausibleToken(activationToken) ? activationToken : std::string();
        auto raised = raiseHolder(socketAddress, token, deadline);
        if (raised) return Raised{};
        const std::string holder = refused.note.empty() ? "another process" : "process " + refused.note;
        return Unanswered{
            "a Tallywick window is already open (" + holder + ", holding " + lockPath +
            ") but could not be raised: " + raised.error() + "; switch to that window, or end it" +
            (refused.note.empty() ? "" : " (kill " + refused.note + ")") + " and start Tallywick again"};
    }

    // The lock is ours, so a socket file here is a dead window's leftover.
    socketAddress.unlink();
    Socket listener;
    if (listener.fd() < 0) return unclaimed(errnoText("cannot make a socket"));
    if (::bind(listener.fd(), socketAddress.data(), socketAddress.size()) != 0)
        return unclaimed(errnoText("cannot bind " + socketPath(runtimeDirectory)));
    if (::listen(listener.fd(), 16) != 0) {
        socketAddress.unlink();
        return unclaimed(errnoText("cannot listen on " + socketPath(runtimeDirectory)));
    }
    return WindowClaim(std::move(lock).value(), std::move(socketAddress), listener.take());
}

RaiseListener::RaiseListener(WindowClaim claim, QObject* parent)
    : QObject(parent), claim_(std::move(claim)), server_(new QLocalServer(this)) {
    const int listener = claim_.takeListener();
    // Qt takes the socket as is; on the way out it closes it and removes the file.
    if (!server_->listen(listener)) ::close(listener);
    connect(server_, &QLocalServer::newConnection, this, &RaiseListener::answer);
}

RaiseListener::~RaiseListener() {
    delete server_;
}

void RaiseListener::answer() {
    while (QLocalSocket* peer = server_->nextPendingConnection()) {
        const auto drop = [peer] {
            peer->abort();
            peer->deleteLater();
        };
        connect(peer, &QLocalSocket::disconnected, peer, &QObject::deleteLater);
        // A peer that never finishes its line is dropped, not waited for.
        QTimer::singleShot(kRequestPatienceMs, peer, drop);
        connect(peer, &QLocalSocket::readyRead, this, [this, peer, drop] {
            if (!peer->canReadLine()) {
                if (peer->bytesAvailable() > kRequestLimit) drop();
                return;
            }
            const QByteArray line = peer->readLine(kRequestLimit).trimmed();
            const qsizetype space = line.indexOf(' ');
            const QByteArray word = space < 0 ? line : line.left(space);
            if (word != QByteArray::fromRawData(kRequest.data(), kRequest.size())) return drop();
            const QByteArray token = space < 0 ? QByteArray() : line.mid(space + 1);
            emit raiseRequested(plausibleToken(token.toStdString()) ? QString::fromLatin1(token) : QString());
            peer->write(kAnswer.data(), static_cast<qint64>(kAnswer.size()));
            peer->disconnectFromServer();
        });
    }
}

}  // namespace tallywick
