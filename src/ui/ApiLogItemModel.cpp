#include <tallywick/ApiLogItemModel.h>

#include <QDateTime>

#include <tallywick/KeyedRowUpdate.h>

namespace tallywick {
namespace {

QString fromStd(const std::string& text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

QVariant optionalText(const std::optional<std::string>& text) {
    return text ? QVariant(fromStd(*text)) : QVariant(QString());
}

}  // namespace

ApiLogItemModel::ApiLogItemModel(QObject* parent) : QAbstractListModel(parent) {}

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
    if (followShift(log)) return;
    reshapeRowsByKey(
        rows_, log, [](const Row& row) { return row.entry.id; }, [](const ApiLogEntry& entry) { return entry.id; },
        [](const ApiLogEntry& entry) { return makeRow(entry); },
        RowChangeSignals{
            .beginRemove = [this](int first, int last) { beginRemoveRows({}, first, last); },
            .endRemove = [this] { endRemoveRows(); },
            .beginInsert = [this](int first, int last) { beginInsertRows({}, first, last); },
            .endInsert = [this] { endInsertRows(); },
            .beginMove = [this](int from, int to) { beginMoveRows({}, from, from, {}, to); },
            .endMove = [this] { endMoveRows(); },
        });
}

bool ApiLogItemModel::followShift(const std::vector<ApiLogEntry>& log) {
    if (rows_.empty()) return false;
    std::size_t arrived = 0;
    while (arrived < log.size() && log[arrived].id != rows_.front().entry.id) ++arrived;
    const std::size_t kept = log.size() - arrived;
    if (arrived == log.size() || kept > rows_.size()) return false;
    for (std::size_t i = 0; i < kept; ++i) {
        if (log[arrived + i].id != rows_[i].entry.id) return false;
    }

    // Oldest first, as the records came in: each goes in at the top and,
    // while the list is over its new length, takes the bottom row with it.
    std::size_t surplus = rows_.size() - kept;
    for (std::size_t i = arrived; i-- > 0;) {
        beginInsertRows({}, 0, 0);
        rows_.insert(rows_.begin(), makeRow(log[i]));
        endInsertRows();
        if (surplus > 0) {
            const int last = static_cast<int>(rows_.size()) - 1;
            beginRemoveRows({}, last, last);
            rows_.pop_back();
            endRemoveRows();
            --surplus;
        }
    }
    if (surplus > 0) {
        const int size = static_cast<int>(rows_.size());
        beginRemoveRows({}, size - static_cast<int>(surplus), size - 1);
        rows_.resize(rows_.size() - surplus);
        endRemoveRows();
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
        case IdRole: return fromStd(entry.id);
        case DirectionRole: return static_cast<int>(entry.direction);
        case MethodRole: return optionalText(entry.method);
        case ClientLabelRole: return optionalText(entry.clientLabel);
        case PayloadRole: return fromStd(entry.payload);
        case TimestampRole:
            return QDateTime::fromSecsSinceEpoch(entry.timestamp.time_since_epoch().count(), Qt::UTC);
        default: return {};
    }
}

Qt::ItemFlags ApiLogItemModel::flags(const QModelIndex& index) const {
    // Rows can be selected, so that their payloads can be copied; nothing is edited.
    return rowAt(index) ? Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemNeverHasChildren : Qt::NoItemFlags;
}

}  // namespace tallywick
