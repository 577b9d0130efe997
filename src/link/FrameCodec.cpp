// SPDX-License-Identifier: MIT
#include <tallywick/link/FrameCodec.h>

#include <tallywick/model/JsonWriter.h>

namespace tallywick {
namespace {

std::uint64_t readBigEndian(std::string_view bytes, std::size_t at, std::size_t width) {
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < width; ++i) value = (value << 8) | static_cast<unsigned char>(bytes[at + i]);
    return value;
}

void appendBigEndian(std::string& out, std::uint64_t value, std::size_t width) {
    for (std::size_t i = width; i-- > 0;) out += static_cast<char>((value >> (8 * i)) & 0xff);
}

bool isAscii(std::string_view text) {
    for (char c : text) {
        if (static_cast<unsigned char>(c) > 0x7f) return false;
    }
    return true;
}

// The rules a frame's head must meet, shared by reading and writing.
std::optional<FrameViolation> checkHead(FrameKind kind, std::uint64_t id, std::string_view name) {
    const bool named = kind == FrameKind::hello || kind == FrameKind::call || kind == FrameKind::message;
    if (named == name.empty() || !isAscii(name)) return FrameViolation::badName;
    const bool hasId = kind == FrameKind::call || kind == FrameKind::reply || kind == FrameKind::failure;
    if (hasId == (id == 0)) return FrameViolation::badId;
    return std::nullopt;
}

}  // namespace

std::string_view describe(FrameViolation violation) {
    switch (violation) {
        case FrameViolation::tooLong: return "frame longer than 256 MiB";
        case FrameViolation::tooShort: return "frame shorter than its header";
        case FrameViolation::unknownKind: return "frame of unknown kind";
        case FrameViolation::badName: return "frame with a bad method name";
        case FrameViolation::badId: return "frame with a bad id";
        case FrameViolation::payloadNotUtf8: return "frame payload is not UTF-8";
    }
    return "frame violation";
}

std::variant<std::monostate, FrameHead, FrameViolation> readFrameHead(std::string_view bytes) {
    if (bytes.size() < 4) return std::monostate{};
    const std::uint64_t length = readBigEndian(bytes, 0, 4);
    if (length > kMaxFrameLength) return FrameViolation::tooLong;
    if (length < kFrameHeaderSize - 4) return FrameViolation::tooShort;
    if (bytes.size() < kFrameHeaderSize) return std::monostate{};
    const auto kind = static_cast<unsigned char>(bytes[4]);
    if (kind > static_cast<unsigned char>(FrameKind::failure)) return FrameViolation::unknownKind;
    const std::uint64_t id = readBigEndian(bytes, 5, 8);
    const std::size_t nameLength = static_cast<unsigned char>(bytes[13]);
    if (nameLength > length - (kFrameHeaderSize - 4)) return FrameViolation::badName;
    if (bytes.size() < kFrameHeaderSize + nameLength) return std::monostate{};
    const std::string_view name = bytes.substr(kFrameHeaderSize, nameLength);
    if (auto violation = checkHead(FrameKind{kind}, id, name)) return *violation;
    return FrameHead{.kind = FrameKind{kind},
                     .id = id,
                     .name = std::string(name),
                     .headLength = kFrameHeaderSize + nameLength,
                     .payloadLength = 4 + length - kFrameHeaderSize - nameLength};
}

FrameScan scanFrames(std::string_view bytes) {
    FrameScan scan;
    std::size_t at = 0;
    while (true) {
        auto read = readFrameHead(bytes.substr(at));
        if (auto* violation = std::get_if<FrameViolation>(&read)) {
            scan.violation = *violation;
            break;
        }
        auto* head = std::get_if<FrameHead>(&read);
        if (!head || bytes.size() - at - head->headLength < head->payloadLength)
            break;  // the rest arrives later
        const std::string_view payload = bytes.substr(at + head->headLength, head->payloadLength);
        if (!isValidUtf8(payload)) {
            scan.violation = FrameViolation::payloadNotUtf8;
            break;
        }
        at += head->headLength + head->payloadLength;
        scan.frames.push_back(Frame{head->kind, head->id, std::move(head->name), std::string(payload)});
    }
    scan.consumed = at;
    return scan;
}

std::optional<std::string> encodeFrameHead(FrameKind kind, std::uint64_t id, std::string_view name,
                                           std::string_view payload) {
    if (!isValidUtf8(payload)) return std::nullopt;
    return encodeFrameHead(kind, id, name, payload.size());
}

std::optional<std::string> encodeFrameHead(FrameKind kind, std::uint64_t id, std::string_view name,
                                           std::size_t payloadLength) {
    if (name.size() > 255 || payloadLength > kMaxFrameLength) return std::nullopt;
    const std::size_t length = kFrameHeaderSize - 4 + name.size() + payloadLength;
    if (length > kMaxFrameLength) return std::nullopt;
    if (checkHead(kind, id, name)) return std::nullopt;
    std::string head;
    head.reserve(kFrameHeaderSize + name.size());
    appendBigEndian(head, length, 4);
    head += static_cast<char>(kind);
    appendBigEndian(head, id, 8);
    head += static_cast<char>(name.size());
    head += name;
    return head;
}

std::optional<std::string> encodeFrame(const Frame& frame) {
    auto head = encodeFrameHead(frame.kind, frame.id, frame.name, frame.payload);
    if (!head) return std::nullopt;
    return *head + frame.payload;
}

}  // namespace tallywick
