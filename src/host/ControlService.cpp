// SPDX-License-Identifier: MIT
#include <tallywick/host/ControlService.h>

#include <tallywick/host/LedgerStore.h>

namespace tallywick {

namespace {

std::string encodeResponse(const ControlResponse& response) {
    if (auto text = TallywickCoding::encodeToString(response)) return std::move(*text);
    // Only a record holding text that cannot be written gets here; say so
    // rather than leave the caller without an answer.
    return *TallywickCoding::encodeToString(ControlResponse::failure("The answer could not be encoded"));
}

template <class T>
ControlService::Handled answer(const Outcome<T>& outcome) {
    if (!outcome) return {.reply = encodeResponse(ControlResponse::failure(outcome.error().reason))};
    return {.reply = encodeResponse(ControlResponse::ok()), .dataChanged = true};
}

}  // namespace

ControlService::ControlService(LedgerStore& store) : store_(store) {}

ControlService::Handled ControlService::handle(std::string_view requestText, Date now) {
    auto request = TallywickCoding::decode<ControlRequest>(requestText);
    if (!request) return {.reply = encodeResponse(ControlResponse::failure("Malformed request"))};
    return execute(*request, now);
}

ControlService::Handled ControlService::execute(const ControlRequest& request, Date now) {
    using R = ControlRequest;
    return std::visit(
        [&](const auto& c) -> Handled {
            using Case = std::decay_t<decltype(c)>;
            if constexpr (std::is_same_v<Case, R::Snapshot>) {
                return {.snapshotWanted = true};
            } else if constexpr (std::is_same_v<Case, R::CreateEntry>) {
                const auto outcome = store_.createEntry(c.entry, now);
                auto result = answer(outcome);
                if (outcome) {
                    result.changedLedgers.push_back(outcome->accountId);
                    result.writtenEntry = *outcome;
                }
                return result;
            } else if constexpr (std::is_same_v<Case, R::UpdateEntry>) {
                const auto outcome = store_.updateEntry(c.entry, now);
                auto result = answer(outcome);
                if (outcome) {
                    result.changedLedgers.push_back(outcome->accountId);
                    result.writtenEntry = *outcome;
                }
                return result;
            } else if constexpr (std::is_same_v<Case, R::DeleteEntry>) {
                const auto outcome = store_.deleteEntry(c.id);
                auto result = answer(outcome);
                if (outcome) {
                    result.changedLedgers.push_back(*outcome);
                    result.removedEntry = c.id;
                }
                return result;
            } else if constexpr (std::is_same_v<Case, R::RenameAccount>) {
                return answer(store_.renameAccount(c.id, c.displayName));
            } else if constexpr (std::is_same_v<Case, R::DeleteAccount>) {
                auto result = answer(store_.deleteAccount(c.id));
                if (result.dataChanged) result.deletedAccount = c.id;
                return result;
            } else if constexpr (std::is_same_v<Case, R::SetAllowUnauthenticated>) {
                auto result = answer(store_.setAllowUnauthenticated(c.value));
                result.clientInfoBindingsEnd = result.dataChanged && !c.value;
                return result;
            } else {
                static_assert(std::is_same_v<Case, R::SetStartingPoints>);
                return answer(store_.setStartingPoints(c.value));
            }
        },
        request.value);
}

}  // namespace tallywick
