// SPDX-License-Identifier: MIT
#include "model/coding/LedgerRecordKeys.h"

TALLYWICK_INSTANTIATE_CODING(tallywick::ClientInfo)
TALLYWICK_INSTANTIATE_CODING(tallywick::ClientInfoField)
TALLYWICK_INSTANTIATE_CODING(tallywick::Account)
TALLYWICK_INSTANTIATE_CODING(tallywick::LedgerEntry)
TALLYWICK_INSTANTIATE_CODING(tallywick::NewLedgerEntry)
