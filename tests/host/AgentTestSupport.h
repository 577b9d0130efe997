// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>
#include <simdjson.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <string>

#include <tallywick/host/AgentService.h>
#include <tallywick/host/KeyHasher.h>
#include <tallywick/host/LedgerStore.h>
#include "OutcomeTesting.h"

namespace tallywick::testing {

// A parsed JSON text that owns its parser; a text that does not parse fails the test.
struct Json {
    explicit Json(std::string_view text) : parser(std::make_unique<simdjson::dom::parser>()) {
        EXPECT_EQ(parser->parse(text.data(), text.size()).get(root), simdjson::SUCCESS) << text;
    }
    // A missing value fails the test and reads as null, so the test goes on safely.
    simdjson::dom::element operator[](std::string_view pointer) const {
        simdjson::dom::element value;
        if (root.at_pointer(pointer).get(value) == simdjson::SUCCESS) return value;
        ADD_FAILURE() << "no " << pointer;
        static simdjson::dom::parser nullParser;
        static const simdjson::dom::element null = nullParser.parse("null", 4).value_unsafe();
        return null;
    }
    bool has(std::string_view pointer) const { return !root.at_pointer(pointer).error(); }
    std::string_view text(std::string_view pointer) const {
        return (*this)[pointer].get_string().value_unsafe();
    }
    std::int64_t integer(std::string_view pointer) const {
        return (*this)[pointer].get_int64().value_unsafe();
    }

    std::unique_ptr<simdjson::dom::parser> parser;
    simdjson::dom::element root;
};

inline simdjson::dom::object objectOf(simdjson::dom::element value) {
    simdjson::dom::object object;
    EXPECT_EQ(value.get(object), simdjson::SUCCESS);
    return object;
}

inline simdjson::dom::array arrayOf(simdjson::dom::element value) {
    simdjson::dom::array array;
    EXPECT_EQ(value.get(array), simdjson::SUCCESS);
    return array;
}

// Checks a value against the part of JSON Schema the tool schemas use. An
// unknown keyword is itself a violation, so no schema passes unchecked.
inline std::string schemaViolation(simdjson::dom::element schema, simdjson::dom::element value,
                                   const std::string& at = "$") {
    using T = simdjson::dom::element_type;
    for (auto [keyword, rule] : objectOf(schema)) {
        auto kind = value.type();
        if (keyword == "type") {
            std::string_view want = rule.get_string().value_unsafe();
            bool fits = want == "object"    ? kind == T::OBJECT
                        : want == "array"   ? kind == T::ARRAY
                        : want == "string"  ? kind == T::STRING
                        : want == "integer" ? kind == T::INT64 || kind == T::UINT64
                        : want == "boolean" ? kind == T::BOOL
                                            : false;
            if (!fits) return at + " is not " + std::string(want);
        } else if (keyword == "properties" && kind == T::OBJECT) {
            for (auto [name, member] : objectOf(value)) {
                simdjson::dom::element sub;
                if (objectOf(rule)[name].get(sub)) continue;
                if (auto why = schemaViolation(sub, member, at + "." + std::string(name)); !why.empty())
                    return why;
            }
        } else if (keyword == "required" && kind == T::OBJECT) {
            for (auto name : arrayOf(rule)) {
                if (objectOf(value)[name.get_string().value_unsafe()].error()) {
                    return at + " lacks " + std::string(name.get_string().value_unsafe());
                }
            }
        } else if (keyword == "additionalProperties" && kind == T::OBJECT) {
            simdjson::dom::object known;
            if (rule.get_bool().value_unsafe() || schema["properties"].get(known)) return at + ": bad rule";
            for (auto [name, member] : objectOf(value)) {
                if (known[name].error()) return at + " has unexpected " + std::string(name);
            }
        } else if (keyword == "anyOf") {
            std::string why = at + " fits no branch:";
            for (auto branch : arrayOf(rule)) {
                auto miss = schemaViolation(branch, value, at);
                if (miss.empty()) return {};
                why += " " + miss + ";";
            }
            return why;
        } else if (keyword == "items" && kind == T::ARRAY) {
            int index = 0;
            for (auto item : arrayOf(value)) {
                auto why = schemaViolation(rule, item, at + "[" + std::to_string(index++) + "]");
                if (!why.empty()) return why;
            }
        } else if (keyword == "enum") {
            auto list = arrayOf(rule);
            if (std::none_of(list.begin(), list.end(), [&](auto option) {
                    return simdjson::to_string(option) == simdjson::to_string(value);
                })) {
                return at + " is not one of " + simdjson::to_string(rule);
            }
        } else if (keyword == "minimum" || keyword == "maximum" || keyword == "minLength" ||
                   keyword == "maxLength" || keyword == "description" || keyword == "title" ||
                   keyword == "default") {
            // bounds of inputs, and annotations: nothing a result is checked for
        } else if (keyword != "properties" && keyword != "required" && keyword != "additionalProperties" &&
                   keyword != "items") {
            return at + ": unknown keyword " + std::string(keyword);
        }
    }
    return {};
}

// A store in a fresh folder, the real hasher, and the service over both.
class AgentFixture : public ::testing::Test {
protected:
    void SetUp() override {
        folder_ = std::filesystem::path(::testing::TempDir()) /
                  ("agent-" + std::to_string(::getpid()) + "-" +
                   ::testing::UnitTest::GetInstance()->current_test_info()->name());
        std::filesystem::remove_all(folder_);
        auto opened = LedgerStore::open((folder_ / "ledger.sqlite3").string());
        ASSERT_TRUE(opened.has_value());
        store_ = std::move(opened.value());
        service_ = std::make_unique<AgentService>(*store_, hasher_);
        // Tests that want agents known by client name say so.
        ASSERT_TRUE(store_->setAllowUnauthenticated(false));
    }
    void TearDown() override {
        service_.reset();
        store_.reset();
        std::filesystem::remove_all(folder_);
    }

    static Date at(std::int64_t seconds) { return Date{std::chrono::seconds{seconds}}; }

    AgentService::Effects send(AgentSession& session, std::string_view line) {
        // Key work done in place, as the host does it on its worker.
        return AgentService::finishInPlace(service_->handle(session, line, at(1'700'000'000)), session,
                                           at(1'700'000'000));
    }
    // A request's reply; the test fails when there is none.
    Json request(AgentSession& session, std::string_view method, std::string_view params = "{}") {
        auto effects = send(session, R"({"jsonrpc":"2.0","id":1,"method":")" + std::string(method) +
                                         R"(","params":)" + std::string(params) + "}");
        EXPECT_TRUE(effects.reply.has_value());
        return Json(effects.reply.value_or(""));
    }
    Json initialize(AgentSession& session, std::string_view name = "scout",
                    std::string_view revision = "2025-11-25") {
        return request(session, "initialize",
                       R"({"protocolVersion":")" + std::string(revision) +
                           R"(","capabilities":{},"clientInfo":{"name":")" + std::string(name) +
                           R"(","version":"1.2","websiteUrl":"https://example.org","icons":[]}})");
    }
    // A tool's structured result, checked against the tool's output schema and
    // against its text copy.
    Json tool(AgentSession& session, std::string_view name, std::string_view arguments = "{}") {
        Json reply =
            request(session, "tools/call",
                    R"({"name":")" + std::string(name) + R"(","arguments":)" + std::string(arguments) + "}");
        Json structured(simdjson::to_string(reply["/result/structuredContent"]));
        EXPECT_EQ(reply.text("/result/content/0/text"), simdjson::to_string(structured.root));
        EXPECT_EQ(reply["/result/isError"].get_bool().value_unsafe(), structured.has("/error"));
        EXPECT_EQ(schemaViolation(outputSchema(name), structured.root), "") << name;
        return structured;
    }
    simdjson::dom::element outputSchema(std::string_view name) {
        if (!tools_) {
            AgentSession lister;
            tools_ = std::make_unique<Json>(request(lister, "tools/list"));
        }
        for (auto item : arrayOf((*tools_)["/result/tools"])) {
            if (item["name"].get_string().value_unsafe() == name) return item["outputSchema"].value_unsafe();
        }
        ADD_FAILURE() << "no tool " << name;
        return tools_->root;
    }

    KeyHasher hasher_;
    std::unique_ptr<LedgerStore> store_;
    std::unique_ptr<AgentService> service_;
    std::unique_ptr<Json> tools_;

private:
    std::filesystem::path folder_;
};

}  // namespace tallywick::testing
