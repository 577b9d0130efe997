// SPDX-License-Identifier: MIT
// Whatever bytes a peer sends, the frame scan must not crash, and the frames
// it takes out must be exactly the bytes it says it consumed.
#include <cstdint>
#include <cstdio>
#include <string>

#include <tallywick/link/FrameCodec.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    const auto scan = tallywick::scanFrames(bytes);
    if (scan.consumed > bytes.size()) __builtin_trap();
    std::string rewritten;
    for (const auto& frame : scan.frames) {
        const auto wire = tallywick::encodeFrame(frame);
        if (!wire) {
            std::fprintf(stderr, "tallywick fuzz: a scanned frame did not encode\n");
            __builtin_trap();
        }
        rewritten += *wire;
    }
    if (rewritten != bytes.substr(0, scan.consumed)) {
        std::fprintf(stderr, "tallywick fuzz: frames do not give back the consumed bytes\n");
        __builtin_trap();
    }
    return 0;
}
