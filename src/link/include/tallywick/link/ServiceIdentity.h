// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

namespace tallywick {

// Every name and requirement of the system, formed from the two build values.
struct ServiceIdentity {
    std::string appIdentifier;       // the desktop manager and tallywickctl
    std::string hostIdentifier;      // base + ".host"
    std::string bridgeIdentifier;    // base + ".bridge"
    std::string hostAgentPlistName;  // base + ".host.plist"; files on disk derive from hostIdentifier
    std::string clientQueueLabel;    // base + ".app.client"
    std::string machServiceName;     // team + "." + hostIdentifier: the socket's file name
    std::string hostRequirement;     // what the application demands of the host
    std::string callerRequirement;   // what the host demands of its callers, bridge first

    static ServiceIdentity make(std::string_view bundleIdentifierBase,
                                std::string_view signingTeamIdentifier);

    friend bool operator==(const ServiceIdentity&, const ServiceIdentity&) = default;
};

// The identity of this build, computed once.
const ServiceIdentity& buildIdentity();

inline const std::string& tallywickMachServiceName() {
    return buildIdentity().machServiceName;
}
inline const std::string& tallywickHostRequirement() {
    return buildIdentity().hostRequirement;
}
inline const std::string& tallywickCallerRequirement() {
    return buildIdentity().callerRequirement;
}

}  // namespace tallywick
