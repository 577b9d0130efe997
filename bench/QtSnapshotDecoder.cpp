// SPDX-License-Identifier: MIT
#include "QtSnapshotDecoder.h"

#include <QByteArray>
#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonParseError>
#include <QJsonValue>
#include <QString>
#include <QVariant>

namespace tallywick::bench {
namespace {

// Every reader returns false at the first fault; the baseline keeps no reason.
bool read(const QJsonValue& v, std::string& out);
bool read(const QJsonValue& v, std::int64_t& out);
bool read(const QJsonValue& v, bool& out);
bool read(const QJsonValue& v, Date& out);
bool read(const QJsonValue& v, ClientInfo& out);
bool read(const QJsonValue& v, ClientInfoField& out);
bool read(const QJsonValue& v, Account& out);
bool read(const QJsonValue& v, LedgerEntry& out);
bool read(const QJsonValue& v, LiveConnection& out);
bool read(const QJsonValue& v, Settings& out);
bool read(const QJsonValue& v, ApiLogEntry& out);
bool read(const QJsonValue& v, Snapshot& out);

template <RawTextEnum E>
bool read(const QJsonValue& v, E& out) {
    if (!v.isString()) return false;
    const QByteArray raw = v.toString().toUtf8();
    const auto value =
        fromRawValue<E>(std::string_view(raw.constData(), static_cast<std::size_t>(raw.size())));
    if (!value) return false;
    out = *value;
    return true;
}

template <class T>
bool read(const QJsonValue& v, std::vector<T>& out) {
    if (!v.isArray()) return false;
    const QJsonArray items = v.toArray();
    out.clear();
    out.reserve(static_cast<std::size_t>(items.size()));
    for (qsizetype i = 0; i < items.size(); ++i) {
        if (!read(items.at(i), out.emplace_back())) return false;
    }
    return true;
}

// A required key must be there and not null.
template <class T>
bool required(const QJsonObject& object, const char* key, T& out) {
    const QJsonValue v = object.value(QLatin1String(key));
    if (v.isUndefined() || v.isNull()) return false;
    return read(v, out);
}

// An optional key that is missing or null leaves no value.
template <class T>
bool optional(const QJsonObject& object, const char* key, std::optional<T>& out) {
    const QJsonValue v = object.value(QLatin1String(key));
    if (v.isUndefined() || v.isNull()) {
        out.reset();
        return true;
    }
    return read(v, out.emplace());
}

bool read(const QJsonValue& v, std::string& out) {
    if (!v.isString()) return false;
    out = v.toString().toStdString();
    return true;
}

bool read(const QJsonValue& v, std::int64_t& out) {
    if (!v.isDouble()) return false;
    // toDouble() would round past 2^53. Qt keeps a number that is a whole
    // 64-bit value as an integer, which toVariant() reveals; anything else
    // (a fraction, or beyond the 64-bit range) stays a double and is refused.
    const QVariant number = v.toVariant();
    if (number.typeId() != QMetaType::LongLong) return false;
    out = number.toLongLong();
    return true;
}

bool read(const QJsonValue& v, bool& out) {
    if (!v.isBool()) return false;
    out = v.toBool();
    return true;
}

bool read(const QJsonValue& v, Date& out) {
    if (!v.isString()) return false;
    const QString text = v.toString();
    // Qt's ISO reading also takes lower-case separators and 24:00; we take neither.
    if (text.size() < 20 || text.at(10) != u'T' || text.contains(u'z') ||
        (text.at(11) == u'2' && text.at(12) == u'4')) {
        return false;
    }
    const QDateTime when = QDateTime::fromString(text, Qt::ISODate);
    // Without a zone Qt reads local time; the wire always names its zone.
    if (!when.isValid() || when.timeSpec() == Qt::LocalTime) return false;
    // Drop any fraction of a second towards the earlier second, before 1970 too.
    const qint64 ms = when.toMSecsSinceEpoch();
    const qint64 seconds = ms / 1000 - (ms % 1000 < 0 ? 1 : 0);
    out = Date{std::chrono::seconds{seconds}};
    return true;
}

bool read(const QJsonValue& v, ClientInfo& out) {
    if (!v.isObject()) return false;
    const QJsonObject o = v.toObject();
    return required(o, "name", out.name) && optional(o, "version", out.version) &&
           optional(o, "title", out.title);
}

bool read(const QJsonValue& v, ClientInfoField& out) {
    if (!v.isObject()) return false;
    const QJsonObject o = v.toObject();
    return required(o, "key", out.key) && required(o, "value", out.value);
}

bool read(const QJsonValue& v, Account& out) {
    if (!v.isObject()) return false;
    const QJsonObject o = v.toObject();
    return required(o, "id", out.id) && required(o, "displayName", out.displayName) &&
           required(o, "identityMode", out.identityMode) && optional(o, "clientInfo", out.clientInfo) &&
           optional(o, "clientInfoFields", out.clientInfoFields) && required(o, "balance", out.balance) &&
           required(o, "createdAt", out.createdAt) && required(o, "isConnected", out.isConnected);
}

bool read(const QJsonValue& v, LedgerEntry& out) {
    if (!v.isObject()) return false;
    const QJsonObject o = v.toObject();
    return required(o, "id", out.id) && required(o, "accountId", out.accountId) &&
           required(o, "kind", out.kind) && required(o, "flag", out.flag) &&
           required(o, "amount", out.amount) && required(o, "memo", out.memo) &&
           required(o, "createdAt", out.createdAt) && required(o, "updatedAt", out.updatedAt) &&
           required(o, "sequence", out.sequence);
}

bool read(const QJsonValue& v, LiveConnection& out) {
    if (!v.isObject()) return false;
    const QJsonObject o = v.toObject();
    return required(o, "id", out.id) && optional(o, "clientInfo", out.clientInfo) &&
           optional(o, "accountId", out.accountId) && required(o, "authenticated", out.authenticated) &&
           required(o, "connectedAt", out.connectedAt);
}

bool read(const QJsonValue& v, Settings& out) {
    if (!v.isObject()) return false;
    const QJsonObject o = v.toObject();
    return required(o, "allowUnauthenticated", out.allowUnauthenticated) &&
           required(o, "startingPoints", out.startingPoints);
}

bool read(const QJsonValue& v, ApiLogEntry& out) {
    if (!v.isObject()) return false;
    const QJsonObject o = v.toObject();
    return required(o, "id", out.id) && required(o, "connectionId", out.connectionId) &&
           optional(o, "accountId", out.accountId) && optional(o, "clientLabel", out.clientLabel) &&
           required(o, "direction", out.direction) && optional(o, "method", out.method) &&
           required(o, "payload", out.payload) && required(o, "timestamp", out.timestamp);
}

bool read(const QJsonValue& v, Snapshot& out) {
    if (!v.isObject()) return false;
    const QJsonObject o = v.toObject();
    return required(o, "accounts", out.accounts) && required(o, "entries", out.entries) &&
           required(o, "connections", out.connections) && required(o, "settings", out.settings) &&
           required(o, "recentApiLog", out.recentApiLog) && required(o, "hostVersion", out.hostVersion);
}

}  // namespace

std::optional<ControlResponse> decodeWithQt(std::string_view text) {
    QJsonParseError error{};
    const QJsonDocument document = QJsonDocument::fromJson(
        QByteArray::fromRawData(text.data(), static_cast<qsizetype>(text.size())), &error);
    if (error.error != QJsonParseError::NoError || !document.isObject()) return std::nullopt;
    const QJsonObject root = document.object();

    // Exactly one key must name a case; keys naming none are skipped.
    QString found;
    int matches = 0;
    for (auto it = root.constBegin(); it != root.constEnd(); ++it) {
        const QString key = it.key();
        if (key == u"snapshot" || key == u"ok" || key == u"failure") {
            found = key;
            ++matches;
        }
    }
    if (matches != 1) return std::nullopt;
    const QJsonValue inner = root.value(found);
    if (!inner.isObject()) return std::nullopt;
    const QJsonObject values = inner.toObject();

    if (found == u"ok") return ControlResponse::ok();
    if (found == u"failure") {
        std::string reason;
        if (!required(values, "_0", reason)) return std::nullopt;
        return ControlResponse::failure(std::move(reason));
    }
    ControlResponse response{ControlResponse::Snapshot{}};
    if (!required(values, "_0", std::get<ControlResponse::Snapshot>(response.value).snapshot))
        return std::nullopt;
    return response;
}

}  // namespace tallywick::bench
