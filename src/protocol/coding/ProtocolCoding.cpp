// SPDX-License-Identifier: MIT
#include <tallywick/protocol/SnapshotEnvelope.h>

#include "protocol/coding/ProtocolKeys.h"

TALLYWICK_INSTANTIATE_CODING(tallywick::Settings)
TALLYWICK_INSTANTIATE_CODING(tallywick::LiveConnection)
TALLYWICK_INSTANTIATE_CODING(tallywick::ApiLogEntry)
TALLYWICK_INSTANTIATE_CODING(tallywick::Snapshot)
TALLYWICK_INSTANTIATE_CODING(tallywick::ControlRequest)
TALLYWICK_INSTANTIATE_CODING(tallywick::ControlResponse)
TALLYWICK_INSTANTIATE_CODING(tallywick::ControlEvent)

namespace tallywick {

std::optional<SnapshotEnvelope> TallywickCoding::encodeSnapshotEnvelope(const Snapshot& state) {
    using namespace coding;
    using Answer = ControlResponse::Snapshot;
    JsonWriter w;
    std::size_t cut = 0;
    w.beginObject();
    w.key(Answer::caseName);
    w.beginObject();
    w.key(std::get<0>(RecordKeys<Answer>::keys).key);
    w.beginObject();
    const auto writeOne = [&](const auto& field) {
        using Member = std::remove_cvref_t<decltype(state.*(field.member))>;
        if constexpr (std::is_same_v<Member, std::vector<LedgerEntry>>) {
            w.key(field.key);
            w.beginArray();
            cut = w.text().size();
            w.endArray();
        } else {
            writeField(w, state, field);
        }
    };
    std::apply([&](const auto&... fields) { (writeOne(fields), ...); }, RecordKeys<Snapshot>::keys);
    w.endObject();
    w.endObject();
    w.endObject();
    auto text = std::move(w).finish();
    if (!text) return std::nullopt;
    return SnapshotEnvelope{text->substr(0, cut), text->substr(cut)};
}

}  // namespace tallywick
