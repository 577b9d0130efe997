// SPDX-License-Identifier: MIT
#pragma once

// Everything of the wire layer: ledger records, host-state records, control
// messages and TallywickCoding's encodeToString and decode for each of them.
#include <tallywick/model.h>

#include <tallywick/protocol/ApiLogEntry.h>
#include <tallywick/protocol/ControlEvent.h>
#include <tallywick/protocol/ControlRequest.h>
#include <tallywick/protocol/ControlResponse.h>
#include <tallywick/protocol/Direction.h>
#include <tallywick/protocol/LiveConnection.h>
#include <tallywick/protocol/Settings.h>
#include <tallywick/protocol/Snapshot.h>
#include <tallywick/protocol/SnapshotEnvelope.h>
