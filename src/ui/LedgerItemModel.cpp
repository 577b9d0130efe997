// SPDX-License-Identifier: MIT
#include <tallywick/ui/LedgerItemModel.h>

#include <QDateTime>
#include <cstring>

#include <tallywick/app/DataText.h>
#include <tallywick/ui/AppStyle.h>
#include <tallywick/ui/EntryType.h>
#include <tallywick/ui/KeyedRowUpdate.h>

namespace tallywick {
namespace {

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

// Lower case, without accents: "Grüße" and "GRUSSE" are searched alike.
QString folded(QStringView text) {
    const QString decomposed = text.toString().normalized(QString::NormalizationForm_KD);
    QString out;
    out.reserve(decomposed.size());
    for (const QChar c : decomposed) {
        if (c.category() != QChar::Mark_NonSpacing) out += c;
    }
    return out.toCaseFolded();
}

// Rows on their way out, or not yet placed, read as this while the structure changes.
const LedgerEntry kBlank{};

}  // namespace

LedgerItemModel::LedgerItemModel(QObject* parent) : KeyedListModel(parent) {}

void LedgerItemModel::setEntries(const std::vector<LedgerEntry>& entries, Validity stillValid) {
    source_ = &entries;
    total_ = entries.size();
    memoOf_.clear();
    if (folded_.size() > 4 * entries.size() + 1024) folded_.clear();
    showEntries(entries, std::move(stillValid));
}

void LedgerItemModel::setFilter(Filter filter) {
    if (filter == filter_) return;
    // Typing on narrows what shows: only the rows shown now can still pass.
    const bool narrowing = !filter_.text.isEmpty() && (filter.types & ~filter_.types) == 0 &&
                           folded(filter.text).contains(folded(filter_.text));
    filter_ = std::move(filter);
    if (!source_ || !valid()) return;
    // Another filter is another list, not an edit of this one: the views start
    // over at once instead of hearing of every row that went or came.
    const std::vector<const LedgerEntry*> shown = passing(*source_, narrowing);
    beginResetModel();
    rows_.clear();
    rows_.reserve(shown.size());
    for (const LedgerEntry* entry : shown) rows_.push_back({digest(entry->id), entry});
    endResetModel();
}

bool LedgerItemModel::passes(const LedgerEntry& entry, const QString& needle, const QString*& memo) {
    if (!(filter_.types & (1u << static_cast<unsigned>(entryTypeOf(entry))))) return false;
    if (needle.isEmpty()) return true;
    if (!memo) {
        auto [at, added] = folded_.try_emplace(digest(entry.memo));
        if (added) at->second = folded(QString::fromStdString(entry.memo));
        memo = &at->second;  // the map's nodes stay where they are
    }
    return memo->contains(needle);
}

std::vector<const LedgerEntry*> LedgerItemModel::passing(const std::vector<LedgerEntry>& entries,
                                                         bool narrowing) {
    std::vector<const LedgerEntry*> shown;
    const QString needle = folded(filter_.text);
    if (narrowing) {
        for (const Row& row : rows_) {
            const QString* memo = nullptr;
            if (passes(*row.entry, needle, memo)) shown.push_back(row.entry);
        }
    } else {
        // Each entry's folded memo is found once per list handed in.
        if (memoOf_.size() != entries.size()) memoOf_.assign(entries.size(), nullptr);
        shown.reserve(entries.size());
        for (std::size_t i = 0; i < entries.size(); ++i) {
            if (filter_.showsAll() || passes(entries[i], needle, memoOf_[i])) shown.push_back(&entries[i]);
        }
    }
    return shown;
}

void LedgerItemModel::showEntries(const std::vector<LedgerEntry>& entries, Validity stillValid) {
    const std::vector<const LedgerEntry*> shown = passing(entries, false);
    std::vector<std::uint64_t> keys;
    keys.reserve(shown.size());
    for (const LedgerEntry* entry : shown) keys.push_back(digest(entry->id));

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
    for (std::size_t i = 0; i < rows_.size(); ++i) rows_[i].entry = shown[i];
    stillValid_ = std::move(stillValid);
    // Which rows changed is unknown without the old list; the views repaint only what they show.
    if (!rows_.empty()) emit dataChanged(index(0), index(static_cast<int>(rows_.size()) - 1));
}

std::vector<LedgerEntry> LedgerItemModel::shownEntries() const {
    std::vector<LedgerEntry> out;
    if (!valid()) return out;
    out.reserve(rows_.size());
    for (const Row& row : rows_) out.push_back(*row.entry);
    return out;
}

std::vector<LedgerEntry> LedgerItemModel::allEntries() const {
    if (!source_ || !valid()) return {};
    return *source_;
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
            return entry.memo.empty() ? QStringLiteral("\u2014") : DataText::isolated(entry.memo);
        case Qt::AccessibleTextRole: {
            const std::string_view label = entryTypeLabel(entryTypeOf(entry));
            return QString::fromLatin1(label.data(), static_cast<qsizetype>(label.size())) +
                   QStringLiteral(", ") +
                   (entry.memo.empty() ? QStringLiteral("\u2014") : QString::fromStdString(entry.memo)) +
                   QStringLiteral(", ") + AppStyle::signedAmountText(entry.signedAmount());
        }
        case IdRole: return QString::fromStdString(entry.id);
        case EntryTypeRole: return static_cast<int>(entryTypeOf(entry));
        case KindRole: return static_cast<int>(entry.kind);
        case MemoRole: return QString::fromStdString(entry.memo);
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
