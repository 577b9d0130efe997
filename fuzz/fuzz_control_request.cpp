// SPDX-License-Identifier: MIT
#include "RoundTrip.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    return tallywick::fuzz::checkRoundTrip<tallywick::ControlRequest>(data, size);
}
