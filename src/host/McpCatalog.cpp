// SPDX-License-Identifier: MIT
#include <tallywick/host/McpCatalog.h>

#include <algorithm>

#include <simdjson.h>
#include <tallywick/model/JsonWriter.h>
#include <tallywick/model/LedgerFlag.h>
#include <tallywick/model/TallywickVersion.h>
#include <tallywick/model/TransactionKind.h>

#include <tallywick/host/AgentService.h>
#include <tallywick/host/ToolErrorCode.h>

namespace tallywick::McpCatalog {

namespace {

constexpr std::string_view instructions =
    "Tallywick keeps a points ledger for you. Without an account, call signUp with a secret key of at "
    "least 8 characters and keep the key and the accountId it returns; with one, call login with both. "
    "Some hosts know you by your client name and need neither. Then read your points with getBalance "
    "and getHistory; your history is also a resource you can subscribe to.";

template <class E>
std::string enumSchema(std::string_view description = {}) {
    JsonWriter writer;
    writer.beginObject();
    writer.key("type");
    writer.string("string");
    if (!description.empty()) {
        writer.key("description");
        writer.string(description);
    }
    writer.key("enum");
    writer.beginArray();
    for (E value : allCases<E>()) writer.string(rawValue(value));
    writer.endArray();
    writer.endObject();
    return writer.text();
}

// Failures come back as results too, so every output schema admits both shapes.
std::string outputSchema(const std::string& success) {
    const std::string failure =
        R"({
        "type": "object",
        "properties": {
            "error": {
                "type": "object",
                "properties": {
                    "code": )" +
        enumSchema<ToolErrorCode>(
            "notSignedIn: call signUp or login first; invalidCredentials: wrong accountId or key; "
            "invalidKey: "
            "the key is too short or too long; invalidArguments: fix the arguments as the message says; "
            "internalError: the host could not do it, try again later") +
        R"(,
                    "message": {"type": "string", "description": "what went wrong, for a person or a model"}
                },
                "required": ["code", "message"],
                "additionalProperties": false
            }
        },
        "required": ["error"],
        "additionalProperties": false
    })";
    return R"({"type": "object", "anyOf": [)" + success + "," + std::string(failure) + "]}";
}

std::string accountShape() {
    return R"({
        "type": "object",
        "properties": {
            "accountId": {"type": "string"},
            "displayName": {"type": "string"},
            "balance": {"type": "integer", "description": "points"}
        },
        "required": ["accountId", "displayName", "balance"],
        "additionalProperties": false
    })";
}

std::string historyShape() {
    const std::string entry = R"({
        "type": "object",
        "properties": {
            "id": {"type": "string"},
            "kind": )" + enumSchema<TransactionKind>() +
                              R"(,
            "flag": )" + enumSchema<LedgerFlag>() +
                              R"(,
            "amount": {"type": "integer", "description": "a magnitude; kind gives the sign"},
            "signedAmount": {"type": "integer", "description": "the effect on the balance"},
            "memo": {"type": "string"},
            "createdAt": {"type": "string", "description": "UTC, e.g. 2025-03-04T05:06:07Z"},
            "updatedAt": {"type": "string"},
            "sequence": {"type": "integer", "description": "1 for the account's first entry"}
        },
        "required": ["id", "kind", "flag", "amount", "signedAmount", "memo", "createdAt", "updatedAt",
                     "sequence"],
        "additionalProperties": false
    })";
    return R"({
        "type": "object",
        "properties": {
            "accountId": {"type": "string"},
            "balance": {"type": "integer"},
            "entries": {"type": "array", "items": )" +
           entry + R"(},
            "nextBefore": {"type": "string", "description": "pass as before for the next older page"}
        },
        "required": ["accountId", "balance", "entries"],
        "additionalProperties": false
    })";
}

std::string tool(std::string_view name, std::string_view title, std::string_view description,
                 std::string_view inputProperties, std::string_view required, const std::string& output,
                 std::string_view annotations) {
    JsonWriter writer;
    writer.beginObject();
    writer.key("name");
    writer.string(name);
    writer.key("title");
    writer.string(title);
    writer.key("description");
    writer.string(description);
    writer.key("inputSchema");
    const std::string requiredPart = required.empty() ? "" : R"(, "required": )" + std::string(required);
    writer.rawValue(R"({"type": "object", "properties": )" + std::string(inputProperties) + requiredPart +
                    R"(, "additionalProperties": false})");
    writer.key("outputSchema");
    writer.rawValue(output);
    writer.key("annotations");
    writer.rawValue(annotations);
    writer.endObject();
    return writer.text();
}

std::string buildToolsList() {
    const std::string account = outputSchema(accountShape());
    constexpr std::string_view changes = R"({"readOnlyHint": false, "destructiveHint": false,
                                             "idempotentHint": false, "openWorldHint": false})";
    constexpr std::string_view binds = R"({"readOnlyHint": false, "destructiveHint": false,
                                           "idempotentHint": true, "openWorldHint": false})";
    constexpr std::string_view reads = R"({"readOnlyHint": true, "openWorldHint": false})";
    const std::string tools[] = {
        tool("signUp", "Sign up",
             "Use this once, when you have no Tallywick account yet. It creates an account of your own and "
             "signs this connection in to it. Keep the key and the accountId returned: together they are the "
             "only way back in (login).",
             R"({"key": {"type": "string", "minLength": 8, "maxLength": 1024,
                         "description": "a secret of your choosing, 8 to 1024 characters; keep it for login"},
                 "displayName": {"type": "string", "maxLength": 256,
                                 "description": "how the person keeping the ledger sees the account"}})",
             R"(["key"])", account, changes),
        tool("login", "Log in",
             "Use this at the start of a session when you already have an account from signUp. It signs this "
             "connection in to that account.",
             R"({"accountId": {"type": "string", "description": "the accountId that signUp gave you"},
                 "key": {"type": "string", "description": "the key you chose at signUp"}})",
             R"(["accountId", "key"])", account, binds),
        tool("getBalance", "Balance",
             "Use this to learn how many points you have now: your account's current balance.", "{}", "",
             account, reads),
        tool("getHistory", "History",
             "Use this to see why your balance is what it is: your account's ledger entries, newest first, "
             "with the balance. For older entries pass the nextBefore of one page as before.",
             R"({"limit": {"type": "integer", "minimum": 1, "maximum": 100, "default": 20,
                           "description": "how many entries to return, 1 to 100"},
                 "before": {"type": "string",
                            "description": "an entry id (a page's nextBefore); only entries older than it"}})",
             "", outputSchema(historyShape()), reads),
    };
    std::string list = R"({"tools":[)";
    for (const auto& item : tools) {
        if (list.back() != '[') list += ',';
        list += item;
    }
    return compact(list + "]}");
}

void writeHistoryResourceDescription(JsonWriter& writer) {
    writer.key("title");
    writer.string("Ledger history");
    writer.key("description");
    writer.string("Your Tallywick account's balance and latest 100 entries, newest first.");
    writer.key("mimeType");
    writer.string("application/json");
}

}  // namespace

std::string_view negotiate(std::string_view requested) {
    auto found = std::find(revisions.begin(), revisions.end(), requested);
    return found == revisions.end() ? revisions.front() : *found;
}

std::string initializeResult(std::string_view revision) {
    JsonWriter writer;
    writer.beginObject();
    writer.key("protocolVersion");
    writer.string(revision);
    writer.key("capabilities");
    writer.rawValue(
        R"({"tools":{"listChanged":false},"resources":{"subscribe":true,"listChanged":false},"logging":{}})");
    writer.key("serverInfo");
    writer.beginObject();
    writer.key("name");
    writer.string("tallywick-host");
    writer.key("title");
    writer.string("Tallywick");
    writer.key("version");
    writer.string(TallywickVersion::marketing);
    writer.endObject();
    writer.key("instructions");
    writer.string(instructions);
    writer.endObject();
    return writer.text();
}

const std::string& toolsListResult() {
    static const std::string list = buildToolsList();
    return list;
}

std::string resourcesListResult(const std::optional<std::string>& accountId) {
    JsonWriter writer;
    writer.beginObject();
    writer.key("resources");
    writer.beginArray();
    if (accountId) {
        writer.beginObject();
        writer.key("uri");
        writer.string(AgentService::historyUri(*accountId));
        writer.key("name");
        writer.string("history");
        writeHistoryResourceDescription(writer);
        writer.endObject();
    }
    writer.endArray();
    writer.endObject();
    return writer.text();
}

const std::string& resourceTemplatesResult() {
    static const std::string list = [] {
        JsonWriter writer;
        writer.beginObject();
        writer.key("resourceTemplates");
        writer.beginArray();
        writer.beginObject();
        writer.key("uriTemplate");
        writer.string("tallywick://account/{accountId}/history");
        writer.key("name");
        writer.string("history");
        writeHistoryResourceDescription(writer);
        writer.endObject();
        writer.endArray();
        writer.endObject();
        return writer.text();
    }();
    return list;
}

std::string compact(std::string_view json) {
    simdjson::dom::parser parser;
    simdjson::dom::element root;
    if (parser.parse(json.data(), json.size()).get(root)) return {};
    return simdjson::to_string(root);
}

}  // namespace tallywick::McpCatalog
