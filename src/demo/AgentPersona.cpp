// SPDX-License-Identifier: MIT
#include <tallywick/demo/AgentPersona.h>

#include <array>

#include <tallywick/model/TallywickVersion.h>

namespace tallywick {

namespace {

struct Client {
    const char* name;
    const char* title;
    const char* version;
};

constexpr std::array<Client, 6> clients{{
    {"scout-agent", "Scout", "1.4.2"},
    {"archivist", "Archivist", "0.9.0"},
    {"courier-bot", "Courier", "2.1.0"},
    {"cartographer", "Cartographer", "3.0.1"},
    {"sentinel", "Sentinel", "1.0.0"},
    {"tinker", "Tinker", "0.3.7"},
}};

constexpr std::array<const char*, 6> signedUpNames{"Nova", "Quill", "Juniper", "Ember", "Harbor", "Wren"};

// Past the end of a list the names come round again with a number.
std::string numbered(const std::string& text, std::size_t round, const char* separator) {
    return round == 0 ? text : text + separator + std::to_string(round + 1);
}

}  // namespace

std::vector<AgentPersona> AgentPersona::cast(int count) {
    std::vector<AgentPersona> cast;
    std::size_t known = 0, signers = 0;
    for (int i = 0; i < count; ++i) {
        if (i % 2 == 0) {
            const Client& client = clients[known % clients.size()];
            const std::size_t round = known++ / clients.size();
            const std::string title = numbered(client.title, round, " ");
            cast.push_back({.label = title,
                            .clientName = numbered(client.name, round, "-"),
                            .clientTitle = title,
                            .clientVersion = client.version});
        } else {
            const std::size_t round = signers / signedUpNames.size();
            cast.push_back({.label = numbered(signedUpNames[signers++ % signedUpNames.size()], round, " "),
                            .clientName = "tallywick-demo",
                            .clientTitle = "Tallywick demo",
                            .clientVersion = std::string(TallywickVersion::marketing),
                            .signsUp = true});
        }
    }
    return cast;
}

}  // namespace tallywick
