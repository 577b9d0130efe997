#include "protocol/coding/ProtocolKeys.h"

TALLYWICK_INSTANTIATE_CODING(tallywick::Settings)
TALLYWICK_INSTANTIATE_CODING(tallywick::LiveConnection)
TALLYWICK_INSTANTIATE_CODING(tallywick::ApiLogEntry)
TALLYWICK_INSTANTIATE_CODING(tallywick::Snapshot)
TALLYWICK_INSTANTIATE_CODING(tallywick::ControlRequest)
TALLYWICK_INSTANTIATE_CODING(tallywick::ControlResponse)
TALLYWICK_INSTANTIATE_CODING(tallywick::ControlEvent)
