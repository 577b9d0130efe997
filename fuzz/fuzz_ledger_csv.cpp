// SPDX-License-Identifier: MIT
// Whatever file a user hands to an import, reading it must not crash, and
// what it reads must survive being written and read again unchanged.
#include <cstdint>
#include <cstdio>
#include <string>

#include <tallywick/model/LedgerCsv.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const auto read = tallywick::LedgerCsv::read(text, "A1");
    if (!read) return 0;
    std::vector<tallywick::LedgerEntry> entries;
    std::int64_t sequence = 0;
    for (const auto& row : *read)
        entries.push_back({.id = "E",
                           .accountId = row.accountId,
                           .kind = row.kind,
                           .flag = row.flag,
                           .amount = row.amount,
                           .memo = row.memo,
                           .createdAt = {},
                           .updatedAt = {},
                           .sequence = ++sequence});
    const auto again = tallywick::LedgerCsv::read(tallywick::LedgerCsv::write(entries), "A1");
    if (!again || again->size() != read->size()) {
        std::fprintf(stderr, "tallywick fuzz: a read ledger did not read back after writing\n");
        __builtin_trap();
    }
    for (std::size_t i = 0; i < read->size(); ++i) {
        if ((*again)[i].memo != (*read)[i].memo || (*again)[i].amount != (*read)[i].amount) {
            std::fprintf(stderr, "tallywick fuzz: entry %zu changed in a round trip\n", i);
            __builtin_trap();
        }
    }
    return 0;
}
