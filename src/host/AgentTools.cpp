// SPDX-License-Identifier: MIT
#include <tallywick/host/AgentTools.h>

#include <random>

#include <tallywick/host/AgentBinding.h>
#include <tallywick/host/KeyHasher.h>
#include <tallywick/host/LedgerStore.h>

namespace tallywick {

namespace {

constexpr std::string_view notSignedInMessage =
    "This connection is not signed in to an account: call signUp or login first";

AgentTools::ToolAnswer accountResult(const Account& account) {
    JsonWriter writer;
    writer.beginObject();
    writer.key("accountId");
    writer.string(account.id);
    writer.key("displayName");
    writer.string(account.displayName);
    writer.key("balance");
    writer.integer(account.balance);
    writer.endObject();
    if (auto text = std::move(writer).finish()) return {std::move(*text), false};
    return AgentTools::failure(ToolErrorCode::internalError, "The account could not be written");
}

AgentTools::ToolAnswer invalidArguments(const McpFields& arguments) {
    return AgentTools::failure(ToolErrorCode::invalidArguments, *arguments.problem());
}

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view space = " \t\r\n";
    const auto first = text.find_first_not_of(space);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(space) - first + 1);
}

// Names need not be unique, but a list full of plain "Agent" tells no one apart.
std::string defaultDisplayName() {
    static constexpr char hex[] = "0123456789ABCDEF";
    std::random_device random;
    std::string name = "Agent ";
    for (unsigned bits = random(), i = 0; i < 4; ++i, bits >>= 4) name += hex[bits & 0xF];
    return name;
}

}  // namespace

std::optional<std::variant<AgentTools::ToolAnswer, AgentTools::Pending>> AgentTools::call(
    std::string_view name, McpFields& arguments, AgentSession& session, Date now,
    AgentService::Effects& effects) {
    if (name == "signUp") return signUp(arguments);
    if (name == "login") return login(arguments);
    if (name == "getBalance") return getBalance(arguments, session, now, effects);
    if (name == "getHistory") return getHistory(arguments, session, now, effects);
    return std::nullopt;
}

std::variant<AgentTools::ToolAnswer, AgentTools::Pending> AgentTools::signUp(McpFields& arguments) {
    arguments.allowOnly({"key", "displayName"});
    const auto key = arguments.string("key", true);
    const auto requestedName = arguments.string("displayName");
    if (!arguments.ok()) return invalidArguments(arguments);
    const auto keyLength = codePointCount(*key);
    if (keyLength < minimumKeyLength || keyLength > maximumKeyLength) {
        return failure(ToolErrorCode::invalidKey, "The key must be 8 to 1024 characters long");
    }
    std::string displayName(trimmed(requestedName.value_or("")));
    if (codePointCount(displayName) > maximumNameLength) {
        return failure(ToolErrorCode::invalidArguments, "displayName must be at most 256 characters long");
    }
    if (displayName.empty()) displayName = defaultDisplayName();

    return Pending{
        .run = [&hasher = hasher_, key = std::string(*key)] { return KeyOutcome{.hash = hasher.hash(key)}; },
        .finish = [&store = store_, displayName](AgentSession& session, const KeyOutcome& outcome, Date now,
                                                 AgentService::Effects& effects) -> ToolAnswer {
            if (!outcome.hash)
                return failure(ToolErrorCode::internalError, "The key could not be hashed; try again");
            auto created = store.createCredentialAccount(displayName, *outcome.hash, now);
            if (!created) return failure(ToolErrorCode::internalError, created.error().reason);
            const auto& account = *created;
            effects.dataChanged = true;
            effects.changedAccounts.push_back(account.id);
            AgentBinding::bind(session, account.id, true, effects);
            AgentBinding(store).recordClientInfo(session, account, effects);
            return accountResult(account);
        },
    };
}

std::variant<AgentTools::ToolAnswer, AgentTools::Pending> AgentTools::login(McpFields& arguments) {
    arguments.allowOnly({"accountId", "key"});
    const auto accountId = arguments.string("accountId", true);
    const auto key = arguments.string("key", true);
    if (!arguments.ok()) return invalidArguments(arguments);

    const auto found = store_.account(std::string(*accountId));
    if (!found) return failure(ToolErrorCode::internalError, found.error().reason);
    const auto& account = *found;
    auto stored = account ? store_.keyHash(account->id) : Outcome<std::optional<std::string>>();
    if (!stored) return failure(ToolErrorCode::internalError, stored.error().reason);
    auto hash = std::move(stored).value();
    return Pending{
        .run =
            [&hasher = hasher_, hash = std::move(hash), key = std::string(*key)] {
                if (hash) return KeyOutcome{.matched = hasher.verify(*hash, key)};
                // The same work as for a real account, so the time taken does
                // not tell which identifiers exist.
                static const std::string decoy = hasher.hash("tallywick decoy key").value_or("");
                hasher.verify(decoy, key);
                return KeyOutcome{};
            },
        .finish = [&store = store_, id = std::string(*accountId)](
                      AgentSession& session, const KeyOutcome& outcome, Date,
                      AgentService::Effects& effects) -> ToolAnswer {
            // Read again: the account may have gone while the key was checked.
            if (!outcome.matched)
                return failure(ToolErrorCode::invalidCredentials, "Unknown accountId or wrong key");
            const auto found = store.account(id);
            if (!found) return failure(ToolErrorCode::internalError, found.error().reason);
            const auto& account = *found;
            if (!account) return failure(ToolErrorCode::invalidCredentials, "Unknown accountId or wrong key");
            AgentBinding::bind(session, account->id, true, effects);
            AgentBinding(store).recordClientInfo(session, *account, effects);
            return accountResult(*account);
        },
        .isLogin = true,
        .loginAccount = account ? std::optional<std::string>(account->id) : std::nullopt,
    };
}

AgentTools::ToolAnswer AgentTools::getBalance(McpFields& arguments, AgentSession& session, Date now,
                                              AgentService::Effects& effects) {
    arguments.allowOnly({});
    if (!arguments.ok()) return invalidArguments(arguments);
    const auto readable = AgentBinding(store_).readableAccount(session, now, effects);
    if (!readable) return failure(ToolErrorCode::internalError, readable.error().reason);
    const auto& account = *readable;
    if (!account) return failure(ToolErrorCode::notSignedIn, notSignedInMessage);
    return accountResult(*account);
}

AgentTools::ToolAnswer AgentTools::getHistory(McpFields& arguments, AgentSession& session, Date now,
                                              AgentService::Effects& effects) {
    arguments.allowOnly({"limit", "before"});
    const auto limit = arguments.integer("limit").value_or(20);
    const auto before = arguments.string("before");
    if (!arguments.ok()) return invalidArguments(arguments);
    if (limit < 1 || limit > 100)
        return failure(ToolErrorCode::invalidArguments, "limit must be from 1 to 100");
    const auto readable = AgentBinding(store_).readableAccount(session, now, effects);
    if (!readable) return failure(ToolErrorCode::internalError, readable.error().reason);
    const auto& account = *readable;
    if (!account) return failure(ToolErrorCode::notSignedIn, notSignedInMessage);
    auto page = history(*account, static_cast<int>(limit),
                        before ? std::optional<std::string>(*before) : std::nullopt);
    if (!page) {
        // A page that names no entry of this account is the agent's to fix; anything else is ours.
        const bool theirs = page.error().reason == "No such entry";
        return failure(theirs ? ToolErrorCode::invalidArguments : ToolErrorCode::internalError,
                       page.error().reason);
    }
    return {std::move(page).value(), false};
}

Outcome<std::string> AgentTools::history(const Account& account, int limit,
                                         const std::optional<std::string>& before) const {
    auto outcome = store_.history(account.id, limit, before);
    if (!outcome) return fail(std::move(outcome).error());
    const auto& page = *outcome;
    JsonWriter writer(256 + page.entries.size() * 256);
    writer.beginObject();
    writer.key("accountId");
    writer.string(account.id);
    writer.key("balance");
    writer.integer(account.balance);
    writer.key("entries");
    writer.beginArray();
    for (const auto& entry : page.entries) {
        writer.beginObject();
        writer.key("id");
        writer.string(entry.id);
        writer.key("kind");
        writer.string(rawValue(entry.kind));
        writer.key("flag");
        writer.string(rawValue(entry.flag));
        writer.key("amount");
        writer.integer(entry.amount);
        writer.key("signedAmount");
        writer.integer(entry.signedAmount());
        writer.key("memo");
        writer.string(entry.memo);
        writer.key("createdAt");
        writer.date(entry.createdAt);
        writer.key("updatedAt");
        writer.date(entry.updatedAt);
        writer.key("sequence");
        writer.integer(entry.sequence);
        writer.endObject();
    }
    writer.endArray();
    if (page.nextBefore) {
        writer.key("nextBefore");
        writer.string(*page.nextBefore);
    }
    writer.endObject();
    if (auto text = std::move(writer).finish()) return std::move(*text);
    return fail(Failure{"The history could not be written"});
}

std::string AgentTools::callResult(const ToolAnswer& result) {
    JsonWriter writer(result.structured.size() * 2 + 96);
    writer.beginObject();
    writer.key("content");
    writer.beginArray();
    writer.beginObject();
    writer.key("type");
    writer.string("text");
    writer.key("text");
    writer.string(result.structured);
    writer.endObject();
    writer.endArray();
    writer.key("structuredContent");
    writer.rawValue(result.structured);
    writer.key("isError");
    writer.boolean(result.isError);
    writer.endObject();
    return writer.text();
}

AgentTools::ToolAnswer AgentTools::failure(ToolErrorCode code, std::string_view message) {
    JsonWriter writer;
    writer.beginObject();
    writer.key("error");
    writer.beginObject();
    writer.key("code");
    writer.string(rawValue(code));
    writer.key("message");
    writer.string(message);
    writer.endObject();
    writer.endObject();
    return {writer.text(), true};
}

}  // namespace tallywick
