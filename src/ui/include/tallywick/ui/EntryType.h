// SPDX-License-Identifier: MIT
#pragma once

#include <QColor>
#include <QPalette>
#include <array>
#include <optional>
#include <string_view>

#include <tallywick/model/LedgerEntry.h>

namespace tallywick {

// The five kinds of entry the user picks from, in the picker's order. The
// ledger stores each as a kind and a flag.
enum class EntryType { credit, bonus, debit, penalty, note };

inline constexpr std::array<EntryType, 5> allEntryTypes{EntryType::credit, EntryType::bonus, EntryType::debit,
                                                        EntryType::penalty, EntryType::note};

// The stored text, which is also the type's identifier: "credit", "bonus", ...
std::string_view entryTypeText(EntryType type);
// Only the five stored texts make a type.
std::optional<EntryType> entryTypeFromText(std::string_view text);

// The label, shown as it is (not translated): "Credit", "Bonus", ...
std::string_view entryTypeLabel(EntryType type);
QColor entryTypeColor(EntryType type, const QPalette& palette);

TransactionKind kindOf(EntryType type);
LedgerFlag flagOf(EntryType type);
// A flag only counts where it fits the kind: a bonus credit, a penalty debit.
EntryType entryTypeOf(TransactionKind kind, LedgerFlag flag);
inline EntryType entryTypeOf(const LedgerEntry& entry) {
    return entryTypeOf(entry.kind, entry.flag);
}

}  // namespace tallywick
