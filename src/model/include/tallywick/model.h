// SPDX-License-Identifier: MIT
#pragma once

// The ledger records and their JSON coding.
#include <tallywick/model/Account.h>
#include <tallywick/model/ClientInfo.h>
#include <tallywick/model/ClientInfoField.h>
#include <tallywick/model/Date.h>
#include <tallywick/model/DecodeError.h>
#include <tallywick/model/IdentityMode.h>
#include <tallywick/model/JsonIndent.h>
#include <tallywick/model/JsonWriter.h>
#include <tallywick/model/LedgerEntry.h>
#include <tallywick/model/LedgerFlag.h>
#include <tallywick/model/NewLedgerEntry.h>
#include <tallywick/model/Result.h>
#include <tallywick/model/TallywickCoding.h>
#include <tallywick/model/TallywickVersion.h>
#include <tallywick/model/TransactionKind.h>
