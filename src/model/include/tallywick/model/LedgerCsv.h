// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include <tallywick/model/LedgerEntry.h>
#include <tallywick/model/NewLedgerEntry.h>
#include <tallywick/model/Result.h>

namespace tallywick {

// A ledger as CSV (RFC 4180: comma-separated, CRLF, fields quoted when they
// hold a comma, quote or line break), UTF-8 with a header row. Dates are ISO
// 8601 in UTC, amounts whole numbers, kind and flag their wire texts.
namespace LedgerCsv {

// The columns, in the order written. A spreadsheet runs a cell that starts
// with =, +, -, @, TAB or CR as a formula, so such a memo is written with a
// leading ' (as is one that really starts with '), and the memo column is
// named `quotedMemoColumn` to say so: reading strips that one ' again. A
// file whose column is plain "memo" is read as it stands.
inline constexpr std::string_view quotedMemoColumn = "memo (formulas quoted)";
inline constexpr std::string_view header =
    "id,accountId,kind,flag,amount,memo (formulas quoted),createdAt,updatedAt,sequence";

std::string write(const std::vector<LedgerEntry>& entries);

// The entries a CSV text asks to create for `accountId`, oldest first (by the
// sequence column when there is one, else in the file's order). Only the
// kind, flag, amount and memo columns are read; any malformed row fails the
// whole text, naming its row (the header is row 1) and column.
Result<std::vector<NewLedgerEntry>, std::string> read(std::string_view text, const std::string& accountId);

}  // namespace LedgerCsv
}  // namespace tallywick
