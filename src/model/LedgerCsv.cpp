// SPDX-License-Identifier: MIT
#include <tallywick/model/LedgerCsv.h>

#include <algorithm>
#include <optional>

#include <tallywick/model/Enumeration.h>
#include <tallywick/model/JsonWriter.h>
#include <tallywick/model/WholeNumber.h>

namespace tallywick::LedgerCsv {
namespace {

void field(std::string& out, std::string_view text) {
    if (text.find_first_of(",\"\r\n") == std::string_view::npos) {
        out += text;
        return;
    }
    out += '"';
    for (const char c : text) {
        if (c == '"') out += '"';
        out += c;
    }
    out += '"';
}

// What a spreadsheet would take for a formula, or for the quote that
// neutralises one.
bool needsQuote(std::string_view memo) {
    return !memo.empty() && std::string_view("=+-@\t\r'").find(memo.front()) != std::string_view::npos;
}

using Record = std::vector<std::string>;

// Splits the text into records; a quote left open fails it.
Result<std::vector<Record>, std::string> records(std::string_view text) {
    std::vector<Record> out;
    Record record;
    std::string value;
    bool quoted = false, fieldStarted = false;
    const auto endField = [&] {
        record.push_back(std::move(value));
        value.clear();
        fieldStarted = false;
    };
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (quoted) {
            if (c == '"') {
                if (i + 1 < text.size() && text[i + 1] == '"') {
                    value += '"';
                    ++i;
                } else {
                    quoted = false;
                }
            } else {
                value += c;
            }
            continue;
        }
        if (c == '"' && !fieldStarted && value.empty()) {
            quoted = fieldStarted = true;
        } else if (c == ',') {
            endField();
        } else if (c == '\r' || c == '\n') {
            if (c == '\r' && i + 1 < text.size() && text[i + 1] == '\n') ++i;
            endField();
            out.push_back(std::move(record));
            record.clear();
        } else {
            value += c;
            fieldStarted = true;
        }
    }
    if (quoted) return fail("row " + std::to_string(out.size() + 1) + ": a quoted field is never closed");
    if (fieldStarted || !value.empty() || !record.empty()) {
        endField();
        out.push_back(std::move(record));
    }
    return out;
}

}  // namespace

std::string write(const std::vector<LedgerEntry>& entries) {
    std::string out(header);
    out += "\r\n";
    for (const LedgerEntry& entry : entries) {
        field(out, entry.id);
        out += ',';
        field(out, entry.accountId);
        out += ',';
        out += rawValue(entry.kind);
        out += ',';
        out += rawValue(entry.flag);
        out += ',';
        out += std::to_string(entry.amount);
        out += ',';
        field(out, needsQuote(entry.memo) ? "'" + entry.memo : entry.memo);
        out += ',';
        out += formatDate(entry.createdAt).value_or("");
        out += ',';
        out += formatDate(entry.updatedAt).value_or("");
        out += ',';
        out += std::to_string(entry.sequence);
        out += "\r\n";
    }
    return out;
}

Result<std::vector<NewLedgerEntry>, std::string> read(std::string_view text, const std::string& accountId) {
    if (!isValidUtf8(text)) return fail(std::string("the file is not UTF-8 text"));
    auto parsed = records(text);
    if (!parsed) return fail(std::move(parsed).error());
    std::vector<Record>& rows = *parsed;
    // Blank lines carry nothing.
    rows.erase(std::remove_if(rows.begin(), rows.end(),
                              [](const Record& r) { return r.size() == 1 && r[0].empty(); }),
               rows.end());
    if (rows.empty()) return fail(std::string("row 1: there is no header row"));
    const Record& names = rows[0];
    const auto columnOf = [&](std::string_view name) -> std::optional<std::size_t> {
        const auto at = std::find(names.begin(), names.end(), name);
        if (at == names.end()) return std::nullopt;
        return static_cast<std::size_t>(at - names.begin());
    };
    const auto quotedMemo = columnOf(quotedMemoColumn);
    const auto kind = columnOf("kind"), flag = columnOf("flag"), amount = columnOf("amount"),
               memo = quotedMemo ? quotedMemo : columnOf("memo"), sequence = columnOf("sequence");
    for (const auto& [column, name] : {std::pair{kind, "kind"}, std::pair{flag, "flag"},
                                       std::pair{amount, "amount"}, std::pair{memo, "memo"}}) {
        if (!column) return fail("row 1: the header has no " + std::string(name) + " column");
    }

    std::vector<std::pair<std::int64_t, NewLedgerEntry>> entries;
    for (std::size_t r = 1; r < rows.size(); ++r) {
        const Record& row = rows[r];
        const std::string where = "row " + std::to_string(r + 1) + ", column ";
        if (row.size() != names.size())
            return fail("row " + std::to_string(r + 1) + ": " + std::to_string(row.size()) +
                        " fields where the header has " + std::to_string(names.size()));
        const auto parsedKind = fromRawValue<TransactionKind>(row[*kind]);
        if (!parsedKind) return fail(where + "kind: '" + row[*kind] + "' is not credit, debit or note");
        const auto parsedFlag = fromRawValue<LedgerFlag>(row[*flag]);
        if (!parsedFlag) return fail(where + "flag: '" + row[*flag] + "' is not none, bonus or penalty");
        const auto parsedAmount = parseWholeNumber(row[*amount]);
        if (!parsedAmount) return fail(where + "amount: '" + row[*amount] + "' is not a whole number");
        std::int64_t order = static_cast<std::int64_t>(r);
        if (sequence) {
            const auto number = parseWholeNumber(row[*sequence]);
            if (!number) return fail(where + "sequence: '" + row[*sequence] + "' is not a whole number");
            order = *number;
        }
        entries.push_back(
            {order,
             {.accountId = accountId,
              .kind = *parsedKind,
              .flag = *parsedFlag,
              .amount = *parsedAmount,
              .memo = quotedMemo && row[*memo].starts_with('\'') ? row[*memo].substr(1) : row[*memo]}});
    }
    std::stable_sort(entries.begin(), entries.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    std::vector<NewLedgerEntry> out;
    out.reserve(entries.size());
    for (auto& [order, entry] : entries) out.push_back(std::move(entry));
    return out;
}

}  // namespace tallywick::LedgerCsv
