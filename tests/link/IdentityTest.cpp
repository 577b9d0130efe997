// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

#include <fstream>

#include <tallywick/link/IdentityNote.h>
#include <tallywick/link/Requirement.h>
#include <tallywick/link/ServiceIdentity.h>

using namespace tallywick;

namespace {

const ServiceIdentity kIds = ServiceIdentity::make("com.example.Ledger", "ABCDE12345");

std::string peerPath(const char* name) {
    return std::string(TALLYWICK_TEST_PEER_DIR) + "/" + name;
}

}  // namespace

TEST(IdentityNoteTest, BuiltExecutablesCarryTheirNote) {
    EXPECT_EQ(readIdentityNote(peerPath("peer_host")),
              (IdentityNote{"ABCDE12345", "com.example.Ledger.host"}));
    EXPECT_EQ(readIdentityNote(peerPath("peer_bridge")),
              (IdentityNote{"ABCDE12345", "com.example.Ledger.bridge"}));
    EXPECT_EQ(readIdentityNote(peerPath("peer_other_team")),
              (IdentityNote{"ZZZZZ99999", "com.example.Ledger.host"}));
    EXPECT_EQ(readIdentityNote("/proc/self/exe"), (IdentityNote{"ABCDE12345", "com.example.Ledger"}));
    EXPECT_EQ(readIdentityNote("/bin/sh"), std::nullopt) << "a program without a note";
    EXPECT_EQ(readIdentityNote("/etc/hostname"), std::nullopt) << "not ELF";
    EXPECT_EQ(readIdentityNote("/nonexistent"), std::nullopt);
}

TEST(IdentityNoteTest, DescriptorIsParsedStrictly) {
    using namespace std::string_view_literals;
    EXPECT_TRUE(parseIdentityDescriptor("ABCDE12345\0a.b\0"sv));
    EXPECT_FALSE(parseIdentityDescriptor("ABCDE12345\0a.b"sv));
    EXPECT_FALSE(parseIdentityDescriptor("ABCDE12345\0a.b\0x"sv));
    EXPECT_FALSE(parseIdentityDescriptor("ABCDE1234\0a.b\0"sv));
    EXPECT_FALSE(parseIdentityDescriptor("ABCDE1234!\0a.b\0"sv));
    EXPECT_FALSE(parseIdentityDescriptor("ABCDE12345\0\0"sv));
    EXPECT_FALSE(parseIdentityDescriptor("ABCDE12345\0a b\0"sv));
    EXPECT_FALSE(parseIdentityDescriptor(""sv));
}

TEST(IdentityNoteTest, CorruptedElfGivesNoNoteAndNoCrash) {
    std::ifstream in(peerPath("peer_host"), std::ios::binary);
    const std::string original((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    ASSERT_GT(original.size(), 64u);
    const std::string path = ::testing::TempDir() + "/corrupt_peer";
    // Flip bytes across the headers and note: each variant must read as some note or none.
    int none = 0;
    for (std::size_t at = 0; at < 64 + 56 * 12; at += 3) {
        std::string bytes = original;
        bytes[at] = static_cast<char>(bytes[at] ^ 0xff);
        std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
        const auto note = readIdentityNote(path);
        if (!note) ++none;
    }
    EXPECT_GT(none, 0);
    std::ofstream(path, std::ios::binary | std::ios::trunc) << original.substr(0, 100);
    EXPECT_EQ(readIdentityNote(path), std::nullopt) << "truncated";
}

TEST(RequirementTest, TheThreeProgramsAgainstBothRequirements) {
    const IdentityNote host{"ABCDE12345", kIds.hostIdentifier};
    const IdentityNote bridge{"ABCDE12345", kIds.bridgeIdentifier};
    const IdentityNote app{"ABCDE12345", kIds.appIdentifier};
    const IdentityNote foreignHost{"ZZZZZ99999", kIds.hostIdentifier};
    const IdentityNote stranger{"ABCDE12345", "com.example.Other"};

    EXPECT_TRUE(satisfies(host, kIds.hostRequirement));
    EXPECT_FALSE(satisfies(bridge, kIds.hostRequirement));
    EXPECT_FALSE(satisfies(foreignHost, kIds.hostRequirement));
    EXPECT_FALSE(satisfies(std::nullopt, kIds.hostRequirement));

    EXPECT_TRUE(satisfies(bridge, kIds.callerRequirement));
    EXPECT_TRUE(satisfies(app, kIds.callerRequirement));
    EXPECT_FALSE(satisfies(host, kIds.callerRequirement));
    EXPECT_FALSE(satisfies(stranger, kIds.callerRequirement));
    EXPECT_FALSE(satisfies(IdentityNote{"ZZZZZ99999", kIds.bridgeIdentifier}, kIds.callerRequirement));
}

TEST(RequirementTest, AndBindsTighterThanOr) {
    const IdentityNote note{"ABCDE12345", "b"};
    EXPECT_TRUE(satisfies(note, R"(identifier "a" and identifier "x" or identifier "b")"));
    EXPECT_FALSE(satisfies(note, R"(identifier "a" and (identifier "x" or identifier "b"))"));
    EXPECT_TRUE(satisfies(note, R"(((anchor apple generic)))"));
}

TEST(RequirementTest, TextsThatDoNotParseSatisfyNothing) {
    const IdentityNote note{"ABCDE12345", "a"};
    for (const char* text :
         {"", "anchor", "anchor apple", R"(identifier a)", R"(identifier "a)", R"(identifier "a" and)",
          R"(identifier "a" or or identifier "a")", R"((identifier "a")", R"(identifier "a"))",
          R"(certificate leaf[subject.CN] = "x")", R"(certificate leaf[subject.OU] "ABCDE12345")",
          R"(IDENTIFIER "a")", R"(identifier "a" identifier "a")", R"(not identifier "a")"}) {
        EXPECT_FALSE(Requirement::parse(text)) << text;
        EXPECT_FALSE(satisfies(note, text)) << text;
    }
    EXPECT_FALSE(
        Requirement::parse(std::string(100000, '(') + R"(anchor apple generic)" + std::string(100000, ')')));
}
