// SPDX-License-Identifier: MIT
#include <tallywick/model/TallywickCoding.h>

namespace tallywick::TallywickCoding {

// Function-local statics: built once under the language's once-only guard.
const JsonEncoder& encoder() {
    static const JsonEncoder instance;
    return instance;
}

const JsonDecoder& decoder() {
    static const JsonDecoder instance;
    return instance;
}

}  // namespace tallywick::TallywickCoding
