// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>
#include <QString>
#include <chrono>
#include <memory>
#include <string>
#include <variant>

#include <tallywick/link/FileLock.h>
#include <tallywick/link/SocketAddress.h>

class QLocalServer;

namespace tallywick {

// One window per user and runtime folder. The first start claims the
// folder's window lock and listens on a socket beside it; a later start
// finds the lock held, asks the holder through that socket to raise its
// window, and leaves. The lock, not the socket file, says who is first, so
// the socket a killed window left behind is simply replaced.
//
// Lock and socket live in <runtime folder>/window, out of the way of
// whatever looks for the host's socket in the runtime folder itself.
class WindowClaim {
public:
    // The first start: the lock and the bound, listening socket.
    WindowClaim(WindowClaim&& other) noexcept;
    WindowClaim& operator=(WindowClaim&&) = delete;
    WindowClaim(const WindowClaim&) = delete;
    WindowClaim& operator=(const WindowClaim&) = delete;
    ~WindowClaim();

    // Gives the listening socket away; the claim keeps the lock and the
    // address, whose folder a long path is reached through.
    int takeListener();
    const SocketAddress& address() const { return address_; }

private:
    friend struct WindowInstance;
    WindowClaim(FileLock lock, SocketAddress address, int listener)
        : lock_(std::move(lock)), address_(std::move(address)), listener_(listener) {}

    FileLock lock_;
    SocketAddress address_;
    int listener_;
};

struct WindowInstance {
    // The window that holds the lock was asked forward and said it came.
    struct Raised {};
    // The window that holds the lock did not answer: this start must not
    // open a second one, nor can it bring the first forward.
    struct Unanswered {
        std::string message;
    };
    // The folder cannot hold the claim (not private, not creatable, a socket
    // that cannot be bound): the window opens without one.
    struct Unclaimed {
        std::string message;
    };
    using Outcome = std::variant<WindowClaim, Raised, Unanswered, Unclaimed>;

    // Claims the runtime folder's window, or asks its holder to raise its
    // window, passing the launcher's activation token along (may be empty).
    // Waits up to `patience` for a holder that is still starting.
    static Outcome claim(const std::string& runtimeDirectory, const std::string& activationToken,
                         std::chrono::milliseconds patience = std::chrono::seconds(10));

    static std::string folderPath(const std::string& runtimeDirectory);
    static std::string socketPath(const std::string& runtimeDirectory);
};

// The first start's side of the socket, on the main thread: answers each
// later start's request, after asking the application to raise its window.
class RaiseListener : public QObject {
    Q_OBJECT

public:
    explicit RaiseListener(WindowClaim claim, QObject* parent = nullptr);
    ~RaiseListener() override;

signals:
    // A later start asked for the window; `activationToken` is its
    // launcher's xdg-activation token, empty when it had none.
    void raiseRequested(const QString& activationToken);

private:
    void answer();

    WindowClaim claim_;
    QLocalServer* server_;  // closed first on the way out, while the lock and the address's folder are held
};

}  // namespace tallywick
