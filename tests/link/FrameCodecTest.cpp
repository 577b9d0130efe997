// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <tallywick/link/FrameCodec.h>

using namespace tallywick;

namespace {

std::string wire(const Frame& frame) {
    auto bytes = encodeFrame(frame);
    EXPECT_TRUE(bytes);
    return bytes.value_or("");
}

// A frame body written by hand, for what encodeFrame refuses to produce.
std::string rawFrame(std::uint8_t kind, std::uint64_t id, std::string_view name, std::string_view payload,
                     std::optional<std::uint32_t> lengthOverride = std::nullopt) {
    std::string body;
    body += static_cast<char>(kind);
    for (int i = 7; i >= 0; --i) body += static_cast<char>((id >> (8 * i)) & 0xff);
    body += static_cast<char>(name.size());
    body += name;
    body += payload;
    const std::uint32_t length = lengthOverride.value_or(static_cast<std::uint32_t>(body.size()));
    std::string out;
    for (int i = 3; i >= 0; --i) out += static_cast<char>((length >> (8 * i)) & 0xff);
    return out + body;
}

const Frame kHello{FrameKind::hello, 0, std::string(kHelloName), std::string(kLinkVersion)};
const Frame kCall{FrameKind::call, 7, "control", R"({"snapshot":{}})"};
const Frame kReply{FrameKind::reply, 7, "", R"({"ok":{}})"};

}  // namespace

TEST(FrameCodecTest, LayoutIsBigEndianWithLengthOfWhatFollows) {
    const std::string bytes = wire(Frame{FrameKind::call, 0x0102030405060708ULL, "m", "xy"});
    EXPECT_EQ(bytes, std::string("\x00\x00\x00\x0d\x01\x01\x02\x03\x04\x05\x06\x07\x08\x01mxy", 17));
}

TEST(FrameCodecTest, CoalescedFramesComeOutInOrder) {
    const std::string bytes = wire(kHello) + wire(kCall) + wire(kReply);
    const auto scan = scanFrames(bytes);
    EXPECT_FALSE(scan.violation);
    EXPECT_EQ(scan.consumed, bytes.size());
    EXPECT_EQ(scan.frames, (std::vector<Frame>{kHello, kCall, kReply}));
}

TEST(FrameCodecTest, SplitFramesWaitForTheirLastByte) {
    const std::string bytes = wire(kCall) + wire(kReply);
    for (std::size_t cut = 0; cut < bytes.size(); ++cut) {
        const auto first = scanFrames(std::string_view(bytes).substr(0, cut));
        ASSERT_FALSE(first.violation) << cut;
        const std::string rest = bytes.substr(first.consumed);
        const auto second = scanFrames(rest);
        std::vector<Frame> all = first.frames;
        all.insert(all.end(), second.frames.begin(), second.frames.end());
        EXPECT_EQ(all, (std::vector<Frame>{kCall, kReply})) << cut;
    }
}

TEST(FrameCodecTest, ViolationsStopTheScanAfterTheGoodFrames) {
    const std::pair<std::string, FrameViolation> cases[] = {
        {rawFrame(1, 1, "m", "", kMaxFrameLength + 1), FrameViolation::tooLong},
        {rawFrame(1, 1, "m", "", 9), FrameViolation::tooShort},
        {rawFrame(5, 1, "m", ""), FrameViolation::unknownKind},
        {rawFrame(255, 1, "m", ""), FrameViolation::unknownKind},
        {rawFrame(3, 0, "m\xc3\xa9", ""), FrameViolation::badName},
        {rawFrame(2, 1, "control", ""), FrameViolation::badName},
        {rawFrame(1, 1, "", "x"), FrameViolation::badName},
        {rawFrame(1, 0, "control", "x"), FrameViolation::badId},
        {rawFrame(3, 9, "controlEvent", "x"), FrameViolation::badId},
        {rawFrame(4, 0, "", "why"), FrameViolation::badId},
        {rawFrame(2, 1, "", "\xff"), FrameViolation::payloadNotUtf8},
        {rawFrame(2, 1, "", "\xed\xa0\x80"), FrameViolation::payloadNotUtf8},
    };
    for (const auto& [bad, violation] : cases) {
        const auto scan = scanFrames(wire(kCall) + bad + wire(kReply));
        EXPECT_EQ(scan.violation, violation) << describe(violation);
        EXPECT_EQ(scan.frames, std::vector<Frame>{kCall});
    }
    // A name length that runs past the frame's end.
    std::string overrun = rawFrame(1, 1, "m", "");
    overrun[13] = 9;
    EXPECT_EQ(scanFrames(overrun).violation, FrameViolation::badName);
}

TEST(FrameCodecTest, OversizeIsRefusedBeforeItsBytesArrive) {
    // Only the four length bytes: the scan must not wait for 4 GiB.
    EXPECT_EQ(scanFrames(std::string("\xff\xff\xff\xff", 4)).violation, FrameViolation::tooLong);
    const auto exact = scanFrames(rawFrame(1, 1, "m", "", kMaxFrameLength).substr(0, 20));
    EXPECT_FALSE(exact.violation) << "256 MiB itself is allowed and simply incomplete";
    EXPECT_EQ(exact.consumed, 0u);
}

TEST(FrameCodecTest, EncodingRefusesWhatCouldNotBeReadBack) {
    EXPECT_FALSE(encodeFrame(Frame{FrameKind::call, 1, std::string(256, 'm'), ""}));
    EXPECT_FALSE(encodeFrame(Frame{FrameKind::message, 0, "m", "\xc3"}));
    EXPECT_FALSE(encodeFrame(Frame{FrameKind::reply, 0, "", ""}));
    EXPECT_FALSE(encodeFrame(Frame{FrameKind::call, 1, "", ""}));
    EXPECT_TRUE(encodeFrame(Frame{FrameKind::call, 1, std::string(255, 'm'), ""}));
    EXPECT_TRUE(encodeFrame(Frame{FrameKind::failure, ~0ULL, "", ""}));
}
