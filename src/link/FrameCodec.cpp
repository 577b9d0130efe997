#include <tallywick/FrameCodec.h>

#include <tallywick/JsonWriter.h>

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

// The rules a frame's parts must meet, shared by reading and writing.
std::optional<FrameViolation> check(FrameKind kind, std::uint64_t id, std::string_view name,
                                    std::string_view payload) {
    const bool named = kind == FrameKind::hello || kind == FrameKind::call || kind == FrameKind::message;
    if (named == name.empty() || !isAscii(name)) return FrameViolation::badName;
    const bool hasId = kind == FrameKind::call || kind == FrameKind::reply || kind == FrameKind::failure;
    if (hasId == (id == 0)) return FrameViolation::badId;
    if (!isValidUtf8(payload)) return FrameViolation::payloadNotUtf8;
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

FrameScan scanFrames(std::string_view bytes) {
    FrameScan scan;
    std::size_t at = 0;
    while (bytes.size() - at >= 4) {
        const std::uint64_t length = readBigEndian(bytes, at, 4);
        if (length > kMaxFrameLength) {
            scan.violation = FrameViolation::tooLong;
            break;
        }
        if (length < kFrameHeaderSize - 4) {
            scan.violation = FrameViolation::tooShort;
            break;
        }
        if (bytes.size() - at - 4 < length) break;  // the rest arrives later
        const std::string_view body = bytes.substr(at + 4, length);
        const auto kind = static_cast<unsigned char>(body[0]);
        if (kind > static_cast<unsigned char>(FrameKind::failure)) {
            scan.violation = FrameViolation::unknownKind;
            break;
        }
        const std::uint64_t id = readBigEndian(body, 1, 8);
        const std::size_t nameLength = static_cast<unsigned char>(body[9]);
        if (nameLength > body.size() - 10) {
            scan.violation = FrameViolation::badName;
            break;
        }
        const std::string_view name = body.substr(10, nameLength);
        const std::string_view payload = body.substr(10 + nameLength);
        if (auto violation = check(FrameKind{kind}, id, name, payload)) {
            scan.violation = violation;
            break;
        }
        scan.frames.push_back(Frame{FrameKind{kind}, id, std::string(name), std::string(payload)});
        at += 4 + length;
    }
    scan.consumed = at;
    return scan;
}

std::optional<std::string> encodeFrameHead(FrameKind kind, std::uint64_t id, std::string_view name,
                                           std::string_view payload) {
    const std::size_t length = kFrameHeaderSize - 4 + name.size() + payload.size();
    if (name.size() > 255 || length > kMaxFrameLength) return std::nullopt;
    if (check(kind, id, name, payload)) return std::nullopt;
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

std::optional<std::uint32_t> announcedLength(std::string_view bytes) {
    if (bytes.size() < 4) return std::nullopt;
    return static_cast<std::uint32_t>(readBigEndian(bytes, 0, 4));
}

}  // namespace tallywick
