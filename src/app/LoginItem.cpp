#include <tallywick/LoginItem.h>

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>

#include <tallywick/AutostartLoginItem.h>
#include <tallywick/RuntimeDirectory.h>
#include <tallywick/ServiceIdentity.h>
#include <tallywick/SystemdLoginItem.h>

#include <tallywick/ChildProcess.h>

namespace tallywick {
namespace {

std::filesystem::path homeFolder() {
    if (const char* home = std::getenv("HOME"); home && *home) return home;
    if (const passwd* entry = ::getpwuid(::getuid()); entry && entry->pw_dir) return entry->pw_dir;
    return "/";
}

// The XDG base folder, or its default under the home folder; relative values
// are invalid and ignored.
std::filesystem::path baseFolder(const char* variable, const char* fallbackUnderHome) {
    if (const char* value = std::getenv(variable); value && *value == '/') return value;
    return homeFolder() / fallbackUnderHome;
}

}  // namespace

LoginItemSetup LoginItemSetup::fromEnvironment(std::string hostPath) {
    return {
        .hostIdentifier = buildIdentity().hostIdentifier,
        .hostPath = std::move(hostPath),
        .endpoint = endpointPath(runtimeDirectoryPath()),
        .dataHome = baseFolder("XDG_DATA_HOME", ".local/share"),
        .configHome = baseFolder("XDG_CONFIG_HOME", ".config"),
    };
}

bool isExecutable(const std::string& program) {
    if (program.empty()) return false;
    if (program.find('/') == std::string::npos) return ChildProcess::findOnPath(program).has_value();
    struct stat info {};
    return ::stat(program.c_str(), &info) == 0 && S_ISREG(info.st_mode) &&
           ::access(program.c_str(), X_OK) == 0;
}

std::optional<std::string> LoginItemSetup::missingHost() const {
    if (!hostPath.empty() && hostPath.front() == '/' && isExecutable(hostPath)) return std::nullopt;
    return "the host executable is missing" + (hostPath.empty() ? std::string() : " (" + hostPath + ")") +
           "; install Tallywick again, or start the application from where it was installed";
}

std::unique_ptr<LoginItem> LoginItem::standard(const LoginItemSetup& setup) {
    if (ChildProcess::findOnPath("systemctl")) return std::make_unique<SystemdLoginItem>(setup);
    return std::make_unique<AutostartLoginItem>(setup);
}

}  // namespace tallywick
