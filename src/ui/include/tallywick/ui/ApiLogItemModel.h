// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <vector>

#include <tallywick/protocol/ApiLogEntry.h>
#include <tallywick/ui/KeyedListModel.h>

namespace tallywick {

// The API log as a list, newest first, one row per record, rows known by
// the record's identifier. Following the model's log, each record that came
// in is one insert at the top and each record that fell off the end one
// removal at the bottom: views keep their selection and never start over.
class ApiLogItemModel : public KeyedListModel {
    Q_OBJECT

public:
    enum Role {
        IdRole = Qt::UserRole + 1,  // the record's identifier
        DirectionRole,              // Direction as int
        MethodRole,                 // the method, or a null string when there is none
        ClientLabelRole,            // the client label, or a null string
        PayloadRole,                // the whole payload
        TimestampRole,              // QDateTime, UTC
    };

    // One record as the rows show it. The payload's head is decoded once,
    // long enough for any three lines; the measure is the row painter's.
    struct Row {
        ApiLogEntry entry;
        QString shownPayload{};
        bool payloadCut = false;  // the payload goes on past shownPayload
        mutable int measuredWidth = -1;
        mutable int payloadLines = 1;
    };

    explicit ApiLogItemModel(QObject* parent = nullptr);

    // Brings the rows to the records of `log`. Records are matched by
    // identifier alone: the host never changes a record it has logged.
    void follow(const std::vector<ApiLogEntry>& log);

    const Row* rowAt(const QModelIndex& index) const;

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;

    // How much of a payload is decoded for showing: three lines of the widest window.
    static constexpr qsizetype shownPayloadBytes = 4096;

private:
    using Shown = std::vector<const ApiLogEntry*>;
    static Row makeRow(const ApiLogEntry& entry);
    // The common case: records arrived at the top (all of them, into an
    // empty list), the oldest fell off the end.
    bool followShift(const Shown& log);
    // No record stays: the rows go and come as two blocks.
    bool followReplacement(const Shown& log);

    std::vector<Row> rows_;
};

}  // namespace tallywick
