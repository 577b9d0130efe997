#pragma once

#include <string>
#include <string_view>

#include <tallywick/LoginItem.h>

// Registers the host as the user's login item: headless from the command
// line, quietly at every start of the application, and from the settings.
// Registration is attempted every time, whatever the item's status.
namespace tallywick::RegistrationController {

// Enabled 0, awaiting the user's approval 2, anything else 1.
int exitStatus(LoginItemStatus status);

// Registers, then reads the status back; says nothing, whatever happens.
int runHeadless();
int runHeadless(LoginItem& item);

// Registers; a failure writes the one diagnostic line, success nothing.
void registerQuietly();
void registerQuietly(LoginItem& item);

// The host executable beside this program's own.
std::string hostExecutablePath();

// The diagnostic line for a failed registration, with the journal's error
// priority in front when standard error is the journal.
std::string failureLine(std::string_view reason);
void logFailure(std::string_view reason);

}  // namespace tallywick::RegistrationController
