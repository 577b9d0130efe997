// SPDX-License-Identifier: MIT
#pragma once

#include <tallywick/model/Enumeration.h>

namespace tallywick {

// Why a tool could not do its work: the code of the error object a failed
// tool result carries. The tools' output schema lists exactly these, so an
// agent can rely on the list.
enum class ToolErrorCode { notSignedIn, invalidCredentials, invalidKey, invalidArguments, internalError };

template <>
struct EnumTraits<ToolErrorCode> {
    static constexpr std::array<std::pair<ToolErrorCode, std::string_view>, 5> cases{{
        {ToolErrorCode::notSignedIn, "notSignedIn"},
        {ToolErrorCode::invalidCredentials, "invalidCredentials"},
        {ToolErrorCode::invalidKey, "invalidKey"},
        {ToolErrorCode::invalidArguments, "invalidArguments"},
        {ToolErrorCode::internalError, "internalError"},
    }};
    static constexpr bool listsAllCases = true;
};

}  // namespace tallywick
