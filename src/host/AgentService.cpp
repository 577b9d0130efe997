// SPDX-License-Identifier: MIT
#include <tallywick/host/AgentService.h>

#include <algorithm>
#include <array>
#include <map>
#include <variant>

#include <tallywick/host/AgentBinding.h>
#include <tallywick/host/AgentTools.h>
#include <tallywick/host/LedgerStore.h>
#include <tallywick/host/McpCatalog.h>
#include <tallywick/host/McpFields.h>
#include <tallywick/host/McpMessage.h>

namespace tallywick {

namespace {

using Answer = Result<std::string, McpError>;  // the result's JSON, or the error

constexpr std::string_view emptyResult = "{}";
// What one agent may make the host keep of its client information; a
// handshake over any of these is refused, so nothing is cut in silence.
constexpr std::size_t maximumInfoLength = 256;                     // name, version, title, in characters
constexpr std::size_t maximumFieldCount = 32;                      // further client details
constexpr std::size_t maximumFieldKeyLength = 64;                  // a detail's name, in characters
constexpr std::size_t maximumFieldLength = 1024;                   // a detail's value, in characters
constexpr std::size_t maximumFieldsBytes = std::size_t{8} * 1024;  // every detail's name and value together

constexpr std::array<std::string_view, 8> logLevels{"debug", "info",     "notice", "warning",
                                                    "error", "critical", "alert",  "emergency"};

struct Turn {
    LedgerStore& store;
    const KeyHasher& hasher;
    AgentSession& session;
    Date now;
    AgentService::Effects& effects;
    std::string requestId;  // as written, for a reply made later
};

std::optional<std::string> detailText(simdjson::dom::element value) {
    switch (value.type()) {
        case simdjson::dom::element_type::STRING: return std::string(value.get_string().value_unsafe());
        case simdjson::dom::element_type::BOOL: return value.get_bool().value_unsafe() ? "true" : "false";
        case simdjson::dom::element_type::INT64:
        case simdjson::dom::element_type::UINT64:
        case simdjson::dom::element_type::DOUBLE: return simdjson::to_string(value);
        default: return std::nullopt;  // nested values are not details a person reads
    }
}

// What the client says about itself beyond name, version and title, plus the
// negotiated revision, ordered by key so that the same handshake stores the
// same list; the reason when it says too much.
Result<std::vector<ClientInfoField>, McpError> clientDetails(simdjson::dom::object info,
                                                             std::string_view revision) {
    std::map<std::string, std::string, std::less<>> details;
    std::size_t bytes = 0;
    for (auto [key, value] : info) {
        if (key == "name" || key == "version" || key == "title" || details.contains(key)) continue;
        auto text = detailText(value);
        if (!text) continue;  // nested values are not details a person reads
        if (details.size() == maximumFieldCount)
            return fail(McpError::params("clientInfo has more than 32 further fields"));
        if (codePointCount(key) > maximumFieldKeyLength)
            return fail(McpError::params("clientInfo field names must be at most 64 characters"));
        if (codePointCount(*text) > maximumFieldLength)
            return fail(
                McpError::params("clientInfo." + std::string(key) + " must be at most 1024 characters"));
        bytes += key.size() + text->size();
        if (bytes > maximumFieldsBytes)
            return fail(McpError::params("clientInfo's further fields must be at most 8 KiB in all"));
        details.emplace(key, std::move(*text));
    }
    details["protocolVersion"] = std::string(revision);
    std::vector<ClientInfoField> fields;
    fields.reserve(details.size());
    for (auto& [key, value] : details) fields.push_back({.key = key, .value = std::move(value)});
    return fields;
}

McpError unreadable(const Failure& failure) {
    return {McpError::internalError, "Internal error: " + failure.reason};
}

Answer initialize(Turn& turn, McpFields& params) {
    // Once per connection: a client that handshakes in a loop changes nothing.
    if (turn.session.initialized)
        return fail(
            McpError{McpError::invalidRequest, "Invalid Request: this connection is already initialized"});
    const auto requested = params.string("protocolVersion", true);
    const auto infoObject = params.object("clientInfo", true);
    if (!params.ok()) return fail(McpError::params(*params.problem()));
    McpFields info(*infoObject);
    const auto name = info.string("name", true);
    const auto version = info.string("version");
    const auto title = info.string("title");
    if (!info.ok()) return fail(McpError::params("clientInfo." + *info.problem()));
    if (name->empty()) return fail(McpError::params("clientInfo.name must not be empty"));
    for (const auto& [field, text] : {std::pair{"name", name}, {"version", version}, {"title", title}}) {
        if (text && codePointCount(*text) > maximumInfoLength) {
            return fail(
                McpError::params("clientInfo." + std::string(field) + " must be at most 256 characters"));
        }
    }
    const auto revision = McpCatalog::negotiate(*requested);
    auto details = clientDetails(*infoObject, revision);
    if (!details) return fail(std::move(details).error());

    AgentSession& session = turn.session;
    const AgentSession before = session;
    session.clientInfo = ClientInfo{.name = std::string(*name),
                                    .version = version ? std::optional<std::string>(*version) : std::nullopt,
                                    .title = title ? std::optional<std::string>(*title) : std::nullopt};
    session.clientInfoFields = std::move(details).value();
    session.protocolVersion = std::string(revision);
    session.initialized = true;
    turn.effects.connectionsChanged = true;

    // The connection speaks for its client's account when the host allows
    // that; a ledger that cannot be read leaves the handshake untaken.
    const auto settings = turn.store.settings();
    auto bound = settings && !settings->allowUnauthenticated
                     ? Outcome<std::optional<Account>>()
                     : AgentBinding(turn.store).bindByClientInfo(session, turn.now, turn.effects);
    if (!settings) bound = fail(settings.error());
    if (!bound) {
        session = before;
        turn.effects.connectionsChanged = false;
        return fail(unreadable(bound.error()));
    }
    return McpCatalog::initializeResult(revision);
}

Answer setLogLevel(Turn& turn, McpFields& params) {
    const auto level = params.string("level", true);
    if (!params.ok()) return fail(McpError::params(*params.problem()));
    if (std::find(logLevels.begin(), logLevels.end(), *level) == logLevels.end()) {
        return fail(
            McpError::params("level must be one of debug, info, notice, warning, error, critical, alert, "
                             "emergency"));
    }
    turn.session.logLevel = std::string(*level);
    return std::string(emptyResult);
}

// Every list fits on one page, so no cursor of ours exists to be passed back.
Result<void, McpError> refuseCursor(McpFields& params) {
    const auto cursor = params.string("cursor");
    if (!params.ok()) return fail(McpError::params(*params.problem()));
    if (cursor) return fail(McpError::params("cursor is not one this host gave"));
    return {};
}

Answer callTool(Turn& turn, McpFields& params) {
    const auto name = params.string("name", true);
    const auto arguments = params.object("arguments");
    if (!params.ok()) return fail(McpError::params(*params.problem()));
    McpFields argumentFields = arguments ? McpFields(*arguments) : McpFields();
    AgentTools tools(turn.store, turn.hasher);
    auto called = tools.call(*name, argumentFields, turn.session, turn.now, turn.effects);
    if (!called) return fail(McpError{McpError::invalidParams, "Unknown tool: " + std::string(*name)});
    if (auto* result = std::get_if<AgentTools::ToolAnswer>(&*called)) return AgentTools::callResult(*result);

    // The reply waits for the key work; handle() sees keyWork and gives none yet.
    auto& pending = std::get<AgentTools::Pending>(*called);
    auto work = std::make_shared<AgentService::Effects::KeyWork>();
    work->run = std::move(pending.run);
    work->isLogin = pending.isLogin;
    work->loginAccount = std::move(pending.loginAccount);
    work->finish = [finish = std::move(pending.finish), id = turn.requestId, method = turn.effects.method](
                       AgentSession& session, const KeyOutcome& outcome, Date now) {
        AgentService::Effects done;
        done.method = method;
        done.reply = mcpResultLine(id, AgentTools::callResult(finish(session, outcome, now, done)));
        return done;
    };
    turn.effects.keyWork = std::move(work);
    return std::string();
}

McpError resourceNotFound(std::string_view uri) {
    JsonWriter data;
    data.beginObject();
    data.key("uri");
    data.string(uri);
    data.endObject();
    return {McpError::resourceNotFound, "Resource not found", data.text()};
}

// The one resource a connection may use is its own account's history. An
// unbound connection has none (its resource list is empty), so it is told
// "not found" like a connection asking for someone else's.
Result<Account, McpError> ownResource(Turn& turn, McpFields& params, std::string_view& uri) {
    const auto requested = params.string("uri", true);
    if (!params.ok()) return fail(McpError::params(*params.problem()));
    uri = *requested;
    auto readable = AgentBinding(turn.store).readableAccount(turn.session, turn.now, turn.effects);
    if (!readable) return fail(unreadable(readable.error()));
    auto& account = *readable;
    if (!account || uri != AgentService::historyUri(account->id)) return fail(resourceNotFound(uri));
    return std::move(*account);
}

Answer readResource(Turn& turn, McpFields& params) {
    std::string_view uri;
    auto resource = ownResource(turn, params, uri);
    if (!resource) return fail(std::move(resource).error());
    auto text = AgentTools(turn.store, turn.hasher).history(*resource, 100, std::nullopt);
    if (!text) return fail(McpError{McpError::internalError, text.error().reason});
    JsonWriter writer;
    writer.beginObject();
    writer.key("contents");
    writer.beginArray();
    writer.beginObject();
    writer.key("uri");
    writer.string(uri);
    writer.key("mimeType");
    writer.string("application/json");
    writer.key("text");
    writer.string(*text);
    writer.endObject();
    writer.endArray();
    writer.endObject();
    return writer.text();
}

Answer subscribe(Turn& turn, McpFields& params, bool on) {
    std::string_view uri;
    auto resource = ownResource(turn, params, uri);
    if (!resource) return fail(std::move(resource).error());
    if (on)
        turn.session.subscriptions.insert(std::string(uri));
    else
        turn.session.subscriptions.erase(std::string(uri));
    return std::string(emptyResult);
}

// Requests other than the handshake are answered before it as well: a bridge
// that reconnected replays its handshake, but an agent's client may still be
// mid-way, and refusing it would gain nothing.
Answer respond(Turn& turn, std::string_view method, McpFields& params) {
    if (method == "initialize") return initialize(turn, params);
    if (method == "ping") return std::string(emptyResult);
    if (method == "logging/setLevel") return setLogLevel(turn, params);
    if (method == "tools/list") {
        if (auto cursor = refuseCursor(params); !cursor) return fail(std::move(cursor).error());
        return McpCatalog::toolsListResult();
    }
    if (method == "tools/call") return callTool(turn, params);
    if (method == "resources/list") {
        if (auto cursor = refuseCursor(params); !cursor) return fail(std::move(cursor).error());
        auto readable = AgentBinding(turn.store).readableAccount(turn.session, turn.now, turn.effects);
        if (!readable) return fail(unreadable(readable.error()));
        const auto& account = *readable;
        return McpCatalog::resourcesListResult(account ? std::optional(account->id) : std::nullopt);
    }
    if (method == "resources/templates/list") {
        if (auto cursor = refuseCursor(params); !cursor) return fail(std::move(cursor).error());
        return McpCatalog::resourceTemplatesResult();
    }
    if (method == "resources/read") return readResource(turn, params);
    if (method == "resources/subscribe") return subscribe(turn, params, true);
    if (method == "resources/unsubscribe") return subscribe(turn, params, false);
    return fail(McpError{McpError::methodNotFound, "Method not found"});
}

}  // namespace

AgentService::AgentService(LedgerStore& store, const KeyHasher& hasher) : store_(store), hasher_(hasher) {}

AgentService::Effects AgentService::handle(AgentSession& session, std::string_view line, Date now) {
    Effects effects;
    std::string id = "null";
    try {
        const simdjson::padded_string padded(line);
        simdjson::dom::parser parser;
        McpMessage message = readMcpMessage(parser, padded);
        effects.method = message.method;
        id = message.id;
        switch (message.kind) {
            case McpMessage::Kind::response: effects.direction = Direction::response; return effects;
            // Nothing the client can notify us of needs an action: replies are
            // given at once, so there is nothing to cancel.
            case McpMessage::Kind::notification: effects.direction = Direction::notification; return effects;
            case McpMessage::Kind::invalid:
                effects.reply = mcpErrorLine(message.id, *message.error);
                return effects;
            case McpMessage::Kind::request: break;
        }
        Turn turn{store_, hasher_, session, now, effects, id};
        McpFields params(message.params);
        auto answer = respond(turn, *message.method, params);
        if (effects.keyWork) return effects;
        effects.reply =
            answer ? mcpResultLine(message.id, *answer) : mcpErrorLine(message.id, answer.error());
    } catch (const std::exception&) {
        // Only running out of memory gets here; a request is still answered.
        if (effects.direction == Direction::request) {
            effects.reply = mcpErrorLine(id, {McpError::internalError, "Internal error"});
        }
    }
    return effects;
}

AgentService::Effects AgentService::finishInPlace(Effects effects, AgentSession& session, Date now) {
    if (!effects.keyWork) return effects;
    const auto work = std::move(effects.keyWork);
    auto done = work->finish(session, work->run(), now);
    // What the line itself did before it waited counts too.
    done.direction = effects.direction;
    done.connectionsChanged = done.connectionsChanged || effects.connectionsChanged;
    done.dataChanged = done.dataChanged || effects.dataChanged;
    done.changedAccounts.insert(done.changedAccounts.begin(), effects.changedAccounts.begin(),
                                effects.changedAccounts.end());
    return done;
}

std::string AgentService::historyUri(const std::string& accountId) {
    return "tallywick://account/" + accountId + "/history";
}

std::string AgentService::resourceUpdatedLine(const std::string& uri) {
    JsonWriter writer;
    writer.beginObject();
    writer.key("jsonrpc");
    writer.string("2.0");
    writer.key("method");
    writer.string("notifications/resources/updated");
    writer.key("params");
    writer.beginObject();
    writer.key("uri");
    writer.string(uri);
    writer.endObject();
    writer.endObject();
    return writer.text();
}

}  // namespace tallywick
