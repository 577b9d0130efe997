// SPDX-License-Identifier: MIT
#include <tallywick/host/KeyHasher.h>

#include <sodium.h>

namespace tallywick {

namespace {

// Two passes over 19 MiB: a common Argon2id recommendation, and it keeps a
// login under about 50 ms on a small machine.
constexpr unsigned long long opsLimit = 2;
constexpr std::size_t memoryLimit = std::size_t{19} * 1024 * 1024;

bool sodiumReady() {
    // sodium_init is itself safe to call from several threads; the static
    // only spares later calls the work.
    static const bool ready = sodium_init() >= 0;
    return ready;
}

// An empty key may come with a null pointer, which libsodium need not accept.
const char* bytes(std::string_view key) {
    return key.empty() ? "" : key.data();
}

}  // namespace

KeyHasher::KeyHasher() {
    sodiumReady();
}

std::optional<std::string> KeyHasher::hash(std::string_view key) const {
    if (!sodiumReady()) return std::nullopt;
    char text[crypto_pwhash_STRBYTES];
    if (crypto_pwhash_str_alg(text, bytes(key), key.size(), opsLimit, memoryLimit,
                              crypto_pwhash_ALG_ARGON2ID13) != 0) {
        return std::nullopt;
    }
    return std::string(text);
}

bool KeyHasher::verify(const std::string& hash, std::string_view key) const {
    if (!sodiumReady()) return false;
    // libsodium reads the hash as a C string, so one with a NUL inside is not ours,
    // and it would also accept Argon2i hashes, which we never write.
    if (hash.find('\0') != std::string::npos || hash.size() >= crypto_pwhash_STRBYTES) return false;
    if (!hash.starts_with(crypto_pwhash_argon2id_STRPREFIX)) return false;
    return crypto_pwhash_str_verify(hash.c_str(), bytes(key), key.size()) == 0;
}

}  // namespace tallywick
