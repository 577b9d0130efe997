#include <gtest/gtest.h>

#include <algorithm>

#include <tallywick/ServiceIdentity.h>

using tallywick::ServiceIdentity;

TEST(ServiceIdentityTest, NamesAreFormedFromTheTwoBuildValues) {
    const auto id = ServiceIdentity::make("com.example.Ledger", "ABCDE12345");
    EXPECT_EQ(id.appIdentifier, "com.example.Ledger");
    EXPECT_EQ(id.hostIdentifier, "com.example.Ledger.host");
    EXPECT_EQ(id.bridgeIdentifier, "com.example.Ledger.bridge");
    EXPECT_EQ(id.hostAgentPlistName, "com.example.Ledger.host.plist");
    EXPECT_EQ(id.clientQueueLabel, "com.example.Ledger.app.client");
    EXPECT_EQ(id.machServiceName, "ABCDE12345.com.example.Ledger.host");
    EXPECT_EQ(std::count(id.machServiceName.begin(), id.machServiceName.end(), '.'),
              std::count(id.hostIdentifier.begin(), id.hostIdentifier.end(), '.') + 1);
}

TEST(ServiceIdentityTest, RequirementsNameTheRightIdentifiers) {
    const auto id = ServiceIdentity::make("com.example.Ledger", "ABCDE12345");
    EXPECT_EQ(id.hostRequirement,
              "anchor apple generic and certificate leaf[subject.OU] = \"ABCDE12345\" and identifier "
              "\"com.example.Ledger.host\"");
    EXPECT_EQ(id.callerRequirement,
              "anchor apple generic and certificate leaf[subject.OU] = \"ABCDE12345\" and (identifier "
              "\"com.example.Ledger.bridge\" or identifier \"com.example.Ledger\")");
    EXPECT_LT(id.callerRequirement.find(".bridge"), id.callerRequirement.find("\"com.example.Ledger\""))
        << "the bridge comes first";
}

TEST(ServiceIdentityTest, BuildIdentityIsComputedOnce) {
    EXPECT_EQ(&tallywick::buildIdentity(), &tallywick::buildIdentity());
    EXPECT_EQ(tallywick::tallywickMachServiceName().size(),
              10 + 1 + tallywick::buildIdentity().hostIdentifier.size());
}
