// SPDX-License-Identifier: MIT
#include <tallywick/link/ServiceIdentity.h>

#include <tallywick/link/BuildIdentity.h>

namespace tallywick {
namespace {

std::string quoted(std::string_view text) {
    std::string out = "\"";
    out += text;
    out += '"';
    return out;
}

}  // namespace

ServiceIdentity ServiceIdentity::make(std::string_view base, std::string_view team) {
    ServiceIdentity id;
    id.appIdentifier = std::string(base);
    id.hostIdentifier = id.appIdentifier + ".host";
    id.bridgeIdentifier = id.appIdentifier + ".bridge";
    id.hostAgentPlistName = id.appIdentifier + ".host.plist";
    id.clientQueueLabel = id.appIdentifier + ".app.client";
    id.machServiceName = std::string(team) + "." + id.hostIdentifier;
    const std::string teamTerm = "anchor apple generic and certificate leaf[subject.OU] = " + quoted(team);
    id.hostRequirement = teamTerm + " and identifier " + quoted(id.hostIdentifier);
    id.callerRequirement = teamTerm + " and (identifier " + quoted(id.bridgeIdentifier) + " or identifier " +
                           quoted(id.appIdentifier) + ")";
    return id;
}

const ServiceIdentity& buildIdentity() {
    static const ServiceIdentity identity =
        ServiceIdentity::make(BuildIdentity::bundleIdentifierBase, BuildIdentity::signingTeamIdentifier);
    return identity;
}

}  // namespace tallywick
