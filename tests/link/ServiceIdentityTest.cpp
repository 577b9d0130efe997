// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <algorithm>

#include <tallywick/link/Requirement.h>
#include <tallywick/link/ServiceIdentity.h>

using namespace tallywick;

// The properties others rely on; the exact texts are checked by evaluating them.
TEST(ServiceIdentityTest, NamesAndRequirementsFitTogether) {
    const auto id = ServiceIdentity::make("com.example.Ledger", "ABCDE12345");
    EXPECT_EQ(id.machServiceName, "ABCDE12345." + id.hostIdentifier);
    EXPECT_EQ(std::count(id.machServiceName.begin(), id.machServiceName.end(), '.'),
              std::count(id.hostIdentifier.begin(), id.hostIdentifier.end(), '.') + 1);
    EXPECT_EQ(id.hostAgentPlistName, id.hostIdentifier + ".plist");
    EXPECT_TRUE(Requirement::parse(id.hostRequirement));
    EXPECT_TRUE(Requirement::parse(id.callerRequirement));
    EXPECT_LT(id.callerRequirement.find(id.bridgeIdentifier),
              id.callerRequirement.find("\"" + id.appIdentifier + "\""))
        << "the bridge comes first";
    EXPECT_EQ(&buildIdentity(), &buildIdentity()) << "computed once";
}
