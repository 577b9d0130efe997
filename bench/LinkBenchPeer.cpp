// SPDX-License-Identifier: MIT
// The far end of the link benchmark, a process of its own with the host's
// identity. On LINK_SOCKET it answers `control` calls: a request naming
// "bulk" gets a 20 MB failure text, anything else a ~100-byte one. On
// RAW_SOCKET it serves the floor: 'p' + 100 bytes is echoed, 'b' gets 20 MB.
// Usage: tallywick_link_bench_peer LINK_SOCKET RAW_SOCKET
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <iostream>
#include <thread>

#include <tallywick/link/IoThread.h>
#include <tallywick/link/LinkListener.h>
#include <tallywick/link/StopSignals.h>
#include <tallywick/model/TallywickCoding.h>
#include <tallywick/protocol/ControlResponse.h>

#include "LinkBenchSizes.h"

using namespace tallywick;

namespace {

bool readAll(int fd, char* data, std::size_t size) {
    for (std::size_t done = 0; done < size;) {
        const ssize_t n = ::read(fd, data + done, size - done);
        if (n <= 0) return false;
        done += static_cast<std::size_t>(n);
    }
    return true;
}

bool writeAll(int fd, const char* data, std::size_t size) {
    for (std::size_t done = 0; done < size;) {
        const ssize_t n = ::send(fd, data + done, size - done, MSG_NOSIGNAL);
        if (n <= 0) return false;
        done += static_cast<std::size_t>(n);
    }
    return true;
}

void serveRaw(const std::string& path) {
    const int listening = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::snprintf(address.sun_path, sizeof address.sun_path, "%s", path.c_str());
    ::unlink(path.c_str());
    if (::bind(listening, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
        ::listen(listening, 4) != 0) {
        std::perror("raw socket");
        std::exit(1);
    }
    const std::string bulk(bench::kLargeBytes, 'x');
    while (true) {
        const int fd = ::accept(listening, nullptr, nullptr);
        if (fd < 0) continue;
        char command;
        char ping[bench::kSmallBytes];
        while (readAll(fd, &command, 1)) {
            if (command == 'p' && readAll(fd, ping, sizeof ping) && writeAll(fd, ping, sizeof ping)) continue;
            if (command == 'b' && writeAll(fd, bulk.data(), bulk.size())) continue;
            break;
        }
        ::close(fd);
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::cerr << "usage: tallywick_link_bench_peer LINK_SOCKET RAW_SOCKET\n";
        return 2;
    }
    const StopSignals stop;  // before any thread starts
    const std::string small =
        *TallywickCoding::encodeToString(ControlResponse::failure(std::string(80, 's')));
    // Held once and sent without a copy, as the host sends its cached snapshot.
    const auto large = std::make_shared<const std::string>(*TallywickCoding::encodeToString(
        ControlResponse::failure(std::string(bench::kLargeBytes - 16, 'l'))));

    IoThread io;
    std::vector<std::shared_ptr<LinkConnection>> connections;
    auto listening = LinkListener::listen(io.context(), argv[1], "", [&](std::shared_ptr<LinkConnection> c) {
        std::weak_ptr<LinkConnection> weak = c;
        c->start({.onCall = [&, weak](std::uint64_t id, const std::string& method, std::string request) {
            auto self = weak.lock();
            if (!self || method != "control") return false;
            if (request.find("bulk") != std::string::npos)
                self->reply(id, std::vector{large});
            else
                self->reply(id, small);
            return true;
        }});
        connections.push_back(c);  // only the I/O thread touches this
    });
    if (!listening) {
        std::cerr << listening.error() << "\n";
        return 1;
    }
    std::thread(serveRaw, std::string(argv[2])).detach();

    stop.wait();
    return 0;
}
