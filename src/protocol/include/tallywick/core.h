// SPDX-License-Identifier: MIT
#pragma once

// Everything of the wire layer: ledger records, host-state records, control
// messages and TallywickCoding's encodeToString and decode for each of them.
#include <tallywick/model.h>

#include <tallywick/ApiLogEntry.h>
#include <tallywick/ControlEvent.h>
#include <tallywick/ControlRequest.h>
#include <tallywick/ControlResponse.h>
#include <tallywick/Direction.h>
#include <tallywick/LiveConnection.h>
#include <tallywick/Settings.h>
#include <tallywick/Snapshot.h>
#include <tallywick/SnapshotEnvelope.h>
