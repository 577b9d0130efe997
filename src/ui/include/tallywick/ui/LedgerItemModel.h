// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <cstdint>
#include <functional>
#include <unordered_map>
#include <vector>

#include <tallywick/model/LedgerEntry.h>
#include <tallywick/ui/EntryType.h>
#include <tallywick/ui/KeyedListModel.h>

namespace tallywick {

// One account's ledger as a list, one row per entry in the order given.
// The rows are the caller's list itself, not a copy, which keeps a ledger of
// 100,000 entries cheap to show and to refresh. Updates keep rows by entry
// identifier, so the view's current row and scroll position survive a refresh.
class LedgerItemModel : public KeyedListModel {
    Q_OBJECT

public:
    enum Role {
        IdRole = Qt::UserRole + 1,  // the entry's identifier
        EntryTypeRole,              // EntryType as int
        KindRole,                   // TransactionKind as int
        MemoRole,                   // the memo as stored
        SignedAmountRole,           // qlonglong
        CreatedAtRole,              // QDateTime, UTC
    };

    // Says whether the list handed in is still alive and unchanged.
    using Validity = std::function<bool()>;

    // Which entries show: memos holding `text` (case and accents aside) of
    // the types whose bit (1 << EntryType) is set.
    struct Filter {
        QString text;
        unsigned types;

        static constexpr unsigned everyType = (1u << allEntryTypes.size()) - 1;
        bool showsAll() const { return text.isEmpty() && types == everyType; }
        friend bool operator==(const Filter&, const Filter&) = default;
    };

    explicit LedgerItemModel(QObject* parent = nullptr);

    // The rows become `entries`, which must stay alive and unchanged until the
    // next call, or until `stillValid` turns false; from then until the next
    // call the rows read as empty.
    void setEntries(const std::vector<LedgerEntry>& entries, Validity stillValid = {});
    // Shows only the entries the filter passes, of the list last handed in.
    void setFilter(Filter filter);
    const Filter& filter() const { return filter_; }
    // The entries of the list last handed in, shown or not.
    std::size_t totalCount() const { return total_; }
    // Copies of the entries: the rows shown, or the whole list last handed in.
    std::vector<LedgerEntry> shownEntries() const;
    std::vector<LedgerEntry> allEntries() const;
    // The entry of a row; none for an invalid index or a list no longer valid.
    const LedgerEntry* entryAt(const QModelIndex& index) const;

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;

private:
    // A row knows its entry by a digest of the identifier, so that it can be
    // matched after the list it came from is gone.
    struct Row {
        std::uint64_t key;
        const LedgerEntry* entry;
    };

    bool valid() const { return !stillValid_ || stillValid_(); }
    void showEntries(const std::vector<LedgerEntry>& entries, Validity stillValid);
    // The entries the filter passes; narrowing tests only the rows shown now.
    std::vector<const LedgerEntry*> passing(const std::vector<LedgerEntry>& entries, bool narrowing);
    // `memo` is the entry's folded memo once found, null before.
    bool passes(const LedgerEntry& entry, const QString& needle, const QString*& memo);

    std::vector<Row> rows_;
    Validity stillValid_;
    const std::vector<LedgerEntry>* source_ = nullptr;
    std::size_t total_ = 0;
    Filter filter_{.text = {}, .types = Filter::everyType};
    // Memos as searched, by a digest of the memo: folding is what a
    // keystroke would otherwise pay for on every entry.
    std::unordered_map<std::uint64_t, QString> folded_;
    std::vector<const QString*> memoOf_;  // by position in the list handed in
};

}  // namespace tallywick
