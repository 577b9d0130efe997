// SPDX-License-Identifier: MIT
// The stdin side of the bridge in process, over a real pipe.
#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include <tallywick/bridge/LineReader.h>

using namespace tallywick;
using Kind = LineReader::Item::Kind;

namespace {

// Writes each chunk with a pause between, so the reader sees them as separate reads.
std::vector<LineReader::Item> readAll(const std::vector<std::string>& chunks, std::size_t limit) {
    int fds[2];
    EXPECT_EQ(::pipe(fds), 0);
    std::thread writer([&] {
        for (const auto& chunk : chunks) {
            for (std::size_t done = 0; done < chunk.size();) {
                const ssize_t n = ::write(fds[1], chunk.data() + done, chunk.size() - done);
                if (n <= 0) break;
                done += static_cast<std::size_t>(n);
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        ::close(fds[1]);
    });
    LineReader reader(fds[0], limit);
    std::vector<LineReader::Item> items;
    for (auto item = reader.next(); item.kind != Kind::end; item = reader.next()) items.push_back(item);
    EXPECT_EQ(reader.next().kind, Kind::end);  // and it stays ended
    writer.join();
    ::close(fds[0]);
    return items;
}

std::vector<std::string> describe(const std::vector<LineReader::Item>& items) {
    std::vector<std::string> out;
    for (const auto& item : items) out.push_back(item.kind == Kind::line ? item.text : "<overlong>");
    return out;
}

}  // namespace

TEST(LineReader, JoinsPartialReadsDropsCrAndSkipsBlankLines) {
    const auto items = readAll({"{\"a\"", ":1}\r", "\n\n  \t\r\n{\"b\":", "2}\n{\"c\":3}\r"}, 1024);
    EXPECT_EQ(describe(items), (std::vector<std::string>{R"({"a":1})", R"({"b":2})", R"({"c":3})"}));
}

TEST(LineReader, ReportsEachOverlongLineOnceAndKeepsTheLinesAround) {
    const std::string atLimit(16, 'x');
    const std::string huge(300'000, 'y');  // many reads long, far past the limit
    const auto items = readAll({atLimit + "\r\n", atLimit + "z\n", "before\n" + huge.substr(0, 100'000),
                                huge.substr(100'000), "\r\nafter\n", atLimit + "\r\n" + huge},
                               16);
    EXPECT_EQ(describe(items), (std::vector<std::string>{atLimit, "<overlong>", "before", "<overlong>",
                                                         "after", atLimit, "<overlong>"}));
}
