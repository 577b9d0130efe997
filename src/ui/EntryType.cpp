// SPDX-License-Identifier: MIT
#include <tallywick/ui/EntryType.h>

#include <tallywick/ui/AppStyle.h>

namespace tallywick {

std::string_view entryTypeText(EntryType type) {
    switch (type) {
        case EntryType::credit: return "credit";
        case EntryType::bonus: return "bonus";
        case EntryType::debit: return "debit";
        case EntryType::penalty: return "penalty";
        case EntryType::note: return "note";
    }
    return {};
}

std::optional<EntryType> entryTypeFromText(std::string_view text) {
    for (const EntryType type : allEntryTypes) {
        if (entryTypeText(type) == text) return type;
    }
    return std::nullopt;
}

std::string_view entryTypeLabel(EntryType type) {
    switch (type) {
        case EntryType::credit: return "Credit";
        case EntryType::bonus: return "Bonus";
        case EntryType::debit: return "Debit";
        case EntryType::penalty: return "Penalty";
        case EntryType::note: return "Note";
    }
    return {};
}

QColor entryTypeColor(EntryType type, const QPalette& palette) {
    switch (type) {
        case EntryType::credit: return AppStyle::creditColor(palette);
        case EntryType::bonus: return AppStyle::bonusColor(palette);
        case EntryType::debit: return AppStyle::debitColor(palette);
        case EntryType::penalty: return AppStyle::penaltyColor(palette);
        case EntryType::note: return AppStyle::noteColor(palette);
    }
    return AppStyle::noteColor(palette);
}

TransactionKind kindOf(EntryType type) {
    switch (type) {
        case EntryType::credit:
        case EntryType::bonus: return TransactionKind::credit;
        case EntryType::debit:
        case EntryType::penalty: return TransactionKind::debit;
        case EntryType::note: return TransactionKind::note;
    }
    return TransactionKind::note;
}

LedgerFlag flagOf(EntryType type) {
    switch (type) {
        case EntryType::bonus: return LedgerFlag::bonus;
        case EntryType::penalty: return LedgerFlag::penalty;
        case EntryType::credit:
        case EntryType::debit:
        case EntryType::note: return LedgerFlag::none;
    }
    return LedgerFlag::none;
}

EntryType entryTypeOf(TransactionKind kind, LedgerFlag flag) {
    switch (kind) {
        case TransactionKind::credit: return flag == LedgerFlag::bonus ? EntryType::bonus : EntryType::credit;
        case TransactionKind::debit:
            return flag == LedgerFlag::penalty ? EntryType::penalty : EntryType::debit;
        case TransactionKind::note: return EntryType::note;
    }
    return EntryType::note;
}

}  // namespace tallywick
