// SPDX-License-Identifier: MIT
#include <tallywick/ui/LedgerItemModel.h>

#include <QDateTime>
#include <cstring>

#include <tallywick/ui/AppStyle.h>
#include <tallywick/ui/EntryType.h>
#include <tallywick/ui/KeyedRowUpdate.h>

namespace tallywick {
namespace {

QString fromStd(const std::string& text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

// A quick 64-bit digest of an identifier, eight bytes at a time. Two
// identifiers that share one would only cost a row its place, not its content.
std::uint64_t digest(const std::string& text) {
    std::uint64_t hash = 0x9e3779b97f4a7c15ULL ^ text.size();
    std::size_t at = 0;
    for (; at + 8 <= text.size(); at += 8) {
        std::uint64_t word;
        std::memcpy(&word, text.data() + at, 8);
        hash = (hash ^ word) * 0xbf58476d1ce4e5b9ULL;
        hash ^= hash >> 31;
    }
    std::uint64_t rest = 0;
    std::memcpy(&rest, text.data() + at, text.size() - at);
    hash = (hash ^ rest) * 0x94d049bb133111ebULL;
    return hash ^ (hash >> 29);
}

// Rows on their way out, or not yet placed, read as this while the structure changes.
const LedgerEntry kBlank{};

}  // namespace

LedgerItemModel::LedgerItemModel(QObject* parent) : KeyedListModel(parent) {}

void LedgerItemModel::setEntries(const std::vector<LedgerEntry>& entries, Validity stillValid) {
    std::vector<std::uint64_t> keys;
    keys.reserve(entries.size());
    for (const LedgerEntry& entry : entries) keys.push_back(digest(entry.id));

    // The old list may be gone already: until the rows are in their new
    // places, each reads as blank, which stays consistent for the views.
    for (Row& row : rows_) row.entry = &kBlank;
    stillValid_ = {};
    reshapeRowsByKey(
        rows_, keys, [](const Row& row) { return row.key; }, [](std::uint64_t key) { return key; },
        [](std::uint64_t key) {
            return Row{key, &kBlank};
        },
        rowChangeSignals());
    for (std::size_t i = 0; i < rows_.size(); ++i) rows_[i].entry = &entries[i];
    stillValid_ = std::move(stillValid);
    // Which rows changed is unknown without the old list; the views repaint only what they show.
    if (!rows_.empty()) emit dataChanged(index(0), index(static_cast<int>(rows_.size()) - 1));
}

const LedgerEntry* LedgerItemModel::entryAt(const QModelIndex& index) const {
    if (!index.isValid() || index.model() != this || index.column() != 0 || index.row() < 0 ||
        static_cast<std::size_t>(index.row()) >= rows_.size() || !valid())
        return nullptr;
    return rows_[static_cast<std::size_t>(index.row())].entry;
}

int LedgerItemModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(rows_.size());
}

QVariant LedgerItemModel::data(const QModelIndex& index, int role) const {
    const LedgerEntry* found = entryAt(index);
    if (!found) return {};
    const LedgerEntry& entry = *found;
    switch (role) {
        case Qt::DisplayRole:
            // An empty memo shows as a single em dash.
            return entry.memo.empty() ? QStringLiteral("\u2014") : fromStd(entry.memo);
        case Qt::AccessibleTextRole: {
            const std::string_view label = entryTypeLabel(entryTypeOf(entry));
            return QString::fromLatin1(label.data(), static_cast<qsizetype>(label.size())) +
                   QStringLiteral(", ") +
                   (entry.memo.empty() ? QStringLiteral("\u2014") : fromStd(entry.memo)) +
                   QStringLiteral(", ") + AppStyle::signedAmountText(entry.signedAmount());
        }
        case IdRole: return fromStd(entry.id);
        case EntryTypeRole: return static_cast<int>(entryTypeOf(entry));
        case KindRole: return static_cast<int>(entry.kind);
        case MemoRole: return fromStd(entry.memo);
        case SignedAmountRole: return static_cast<qlonglong>(entry.signedAmount());
        case CreatedAtRole:
            return QDateTime::fromSecsSinceEpoch(entry.createdAt.time_since_epoch().count(), Qt::UTC);
        default: return {};
    }
}

Qt::ItemFlags LedgerItemModel::flags(const QModelIndex& index) const {
    if (!index.isValid() || index.model() != this || index.parent().isValid()) return Qt::NoItemFlags;
    return Qt::ItemIsEnabled | Qt::ItemNeverHasChildren;
}

}  // namespace tallywick
