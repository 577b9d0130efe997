// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>
#include <simdjson.h>
#include <unistd.h>

#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "bridge/BridgeProcess.h"
#include "support/HostFixture.h"

namespace tallywick::testing {

// A host in a scratch folder and bridges pointed at its runtime folder.
class BridgeFixture : public HostFixture {
protected:
    // The bridge as built, with the host beside it to start on demand, or a
    // copy alone that cannot start one.
    std::unique_ptr<BridgeProcess> bridge(bool alone = false) {
        auto process = std::make_unique<BridgeProcess>(
            alone ? aloneCopy(TALLYWICK_BRIDGE_PATH) : std::string(TALLYWICK_BRIDGE_PATH),
            std::vector<std::string>{"--runtime-dir", host_->runtimeDirectory()},
            (folder_ / ("bridge" + std::to_string(++bridges_) + ".stderr")).string());
        EXPECT_TRUE(process->running());
        return process;
    }

public:
    static std::string request(const std::string& id, const std::string& method,
                               const std::string& params = "{}") {
        return R"({"jsonrpc":"2.0","id":)" + id + R"(,"method":")" + method + R"(","params":)" + params + "}";
    }
    static std::string initialize(const std::string& client) {
        return request("0", "initialize",
                       R"({"protocolVersion":"2025-11-25","capabilities":{},"clientInfo":{"name":")" +
                           client + R"(","version":"1.0"}})");
    }
    static std::string tool(const std::string& id, const std::string& name,
                            const std::string& arguments = "{}") {
        return request(id, "tools/call", R"({"name":")" + name + R"(","arguments":)" + arguments + "}");
    }

protected:
    int bridges_ = 0;
};

// What the tests read of a line the bridge wrote.
struct Reply {
    bool json = false;  // the line is one JSON object
    std::string id;     // as compact JSON; empty when absent
    std::optional<std::int64_t> errorCode;
    std::string errorMessage;
    std::string method;                   // of a notification
    std::string uri;                      // params.uri of a notification
    std::string accountId;                // result.structuredContent.accountId
    std::optional<std::int64_t> balance;  // result.structuredContent.balance
    bool toolError = false;               // result.isError

    static Reply of(const std::string& line) {
        thread_local simdjson::dom::parser parser;
        Reply reply;
        simdjson::dom::object root;
        if (parser.parse(line).get(root) != simdjson::SUCCESS) return reply;
        reply.json = true;
        simdjson::dom::element id;
        if (root["id"].get(id) == simdjson::SUCCESS) reply.id = simdjson::to_string(id);
        std::int64_t code;
        if (root.at_pointer("/error/code").get(code) == simdjson::SUCCESS) reply.errorCode = code;
        std::string_view text;
        if (root.at_pointer("/error/message").get(text) == simdjson::SUCCESS) reply.errorMessage = text;
        if (root["method"].get(text) == simdjson::SUCCESS) reply.method = text;
        if (root.at_pointer("/params/uri").get(text) == simdjson::SUCCESS) reply.uri = text;
        if (root.at_pointer("/result/structuredContent/accountId").get(text) == simdjson::SUCCESS)
            reply.accountId = text;
        std::int64_t balance;
        if (root.at_pointer("/result/structuredContent/balance").get(balance) == simdjson::SUCCESS)
            reply.balance = balance;
        bool isError = false;
        if (root.at_pointer("/result/isError").get(isError) == simdjson::SUCCESS) reply.toolError = isError;
        return reply;
    }
};

}  // namespace tallywick::testing
