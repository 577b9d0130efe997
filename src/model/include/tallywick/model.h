// SPDX-License-Identifier: MIT
#pragma once

// The ledger records and their JSON coding.
#include <tallywick/Account.h>
#include <tallywick/ClientInfo.h>
#include <tallywick/ClientInfoField.h>
#include <tallywick/Date.h>
#include <tallywick/DecodeError.h>
#include <tallywick/IdentityMode.h>
#include <tallywick/JsonWriter.h>
#include <tallywick/LedgerEntry.h>
#include <tallywick/LedgerFlag.h>
#include <tallywick/NewLedgerEntry.h>
#include <tallywick/TallywickCoding.h>
#include <tallywick/TallywickVersion.h>
#include <tallywick/TransactionKind.h>
