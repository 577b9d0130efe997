// SPDX-License-Identifier: MIT
#include <tallywick/ui/ApiLogItemModel.h>

#include <QDateTime>
#include <optional>
#include <string_view>
#include <unordered_set>

#include <tallywick/ui/ApiLogHeaderLine.h>
#include <tallywick/ui/DirectionBadge.h>
#include <tallywick/ui/KeyedRowUpdate.h>

namespace tallywick {
namespace {

QVariant optionalText(const std::optional<std::string>& text) {
    return text ? QVariant(QString::fromStdString(*text)) : QVariant(QString());
}

}  // namespace

ApiLogItemModel::ApiLogItemModel(QObject* parent) : KeyedListModel(parent) {}

ApiLogItemModel::Row ApiLogItemModel::makeRow(const ApiLogEntry& entry) {
    Row row{.entry = entry};
    const std::string& payload = entry.payload;
    auto shown = static_cast<std::size_t>(shownPayloadBytes);
    if (payload.size() > shown) {
        // Cut on a character boundary, never inside one.
        while (shown > 0 && (static_cast<unsigned char>(payload[shown]) & 0xC0) == 0x80) --shown;
        row.payloadCut = true;
    } else {
        shown = payload.size();
    }
    row.shownPayload = QString::fromUtf8(payload.data(), static_cast<qsizetype>(shown));
    return row;
}

void ApiLogItemModel::follow(const std::vector<ApiLogEntry>& log) {
    Shown shown;
    shown.reserve(log.size());
    for (const ApiLogEntry& entry : log) shown.push_back(&entry);
    if (followShift(shown)) return;
    if (followReplacement(shown)) return;
    reshapeRowsByKey(
        rows_, shown, [](const Row& row) { return row.entry.id; },
        [](const ApiLogEntry* entry) { return entry->id; },
        [](const ApiLogEntry* entry) { return makeRow(*entry); }, rowChangeSignals());
}

bool ApiLogItemModel::followShift(const Shown& log) {
    std::size_t arrived = 0;
    if (rows_.empty()) {
        arrived = log.size();
    } else {
        while (arrived < log.size() && log[arrived]->id != rows_.front().entry.id) ++arrived;
        if (arrived == log.size()) return false;
    }
    const std::size_t kept = log.size() - arrived;
    if (kept > rows_.size()) return false;
    for (std::size_t i = 0; i < kept; ++i) {
        if (log[arrived + i]->id != rows_[i].entry.id) return false;
    }

    // Oldest first, as the records came in: each goes in at the top and,
    // when that makes the list longer than the log, the bottom row goes.
    for (std::size_t i = arrived; i-- > 0;) {
        beginInsertRows({}, 0, 0);
        rows_.insert(rows_.begin(), makeRow(*log[i]));
        endInsertRows();
        if (rows_.size() > log.size()) {
            const int last = static_cast<int>(rows_.size()) - 1;
            beginRemoveRows({}, last, last);
            rows_.pop_back();
            endRemoveRows();
        }
    }
    // A snapshot that brought a shorter log.
    if (rows_.size() > log.size()) {
        beginRemoveRows({}, static_cast<int>(log.size()), static_cast<int>(rows_.size()) - 1);
        rows_.resize(log.size());
        endRemoveRows();
    }
    return true;
}

bool ApiLogItemModel::followReplacement(const Shown& log) {
    std::unordered_set<std::string_view> incoming;
    for (const ApiLogEntry* entry : log) incoming.insert(entry->id);
    for (const Row& row : rows_) {
        if (incoming.contains(row.entry.id)) return false;
    }
    // More came in than the log keeps, or a snapshot replaced it: no row stays.
    if (!rows_.empty()) {
        beginRemoveRows({}, 0, static_cast<int>(rows_.size()) - 1);
        rows_.clear();
        endRemoveRows();
    }
    if (!log.empty()) {
        beginInsertRows({}, 0, static_cast<int>(log.size()) - 1);
        rows_.reserve(log.size());
        for (const ApiLogEntry* entry : log) rows_.push_back(makeRow(*entry));
        endInsertRows();
    }
    return true;
}

const ApiLogItemModel::Row* ApiLogItemModel::rowAt(const QModelIndex& index) const {
    if (!index.isValid() || index.model() != this || index.column() != 0 || index.row() < 0 ||
        static_cast<std::size_t>(index.row()) >= rows_.size())
        return nullptr;
    return &rows_[static_cast<std::size_t>(index.row())];
}

int ApiLogItemModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(rows_.size());
}

QVariant ApiLogItemModel::data(const QModelIndex& index, int role) const {
    const Row* row = rowAt(index);
    if (!row) return {};
    const ApiLogEntry& entry = row->entry;
    switch (role) {
        case Qt::DisplayRole: return row->shownPayload;
        case Qt::AccessibleTextRole: {
            // What the row's first line and badge show, then the payload it shows.
            QStringList parts{ApiLogHeaderLine::methodText(entry)};
            if (entry.clientLabel) parts << ApiLogHeaderLine::clientText(entry);
            parts << DirectionBadge::name(entry.direction) << ApiLogHeaderLine::timeText(entry.timestamp)
                  << row->shownPayload;
            return parts.join(QStringLiteral(", "));
        }
        case IdRole: return QString::fromStdString(entry.id);
        case DirectionRole: return static_cast<int>(entry.direction);
        case MethodRole: return optionalText(entry.method);
        case ClientLabelRole: return optionalText(entry.clientLabel);
        case PayloadRole: return QString::fromStdString(entry.payload);
        case TimestampRole:
            return QDateTime::fromSecsSinceEpoch(entry.timestamp.time_since_epoch().count(), Qt::UTC);
        default: return {};
    }
}

Qt::ItemFlags ApiLogItemModel::flags(const QModelIndex& index) const {
    // Only the payloads' text is selected, inside a row; rows themselves are not.
    return rowAt(index) ? Qt::ItemIsEnabled | Qt::ItemNeverHasChildren : Qt::NoItemFlags;
}

}  // namespace tallywick
