// SPDX-License-Identifier: MIT
#include <tallywick/link/RuntimeDirectory.h>

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <optional>

#include <tallywick/model/Result.h>

#include <tallywick/link/ServiceIdentity.h>

namespace tallywick {

std::string runtimeDirectoryPath(const std::string& runUserRoot) {
    if (const char* own = std::getenv("TALLYWICK_RUNTIME_DIR"); own && *own) return own;
    if (const char* xdg = std::getenv("XDG_RUNTIME_DIR"); xdg && *xdg) return std::string(xdg) + "/tallywick";
    const std::string uid = std::to_string(::geteuid());
    if (const std::string session = runUserRoot + "/" + uid; checkRuntimeDirectory(session).usable())
        return session + "/tallywick";
    return "/tmp/tallywick-" + uid;
}

namespace {

// One rule for every program: a relative folder would mean another place
// for each working directory, so host and clients could miss each other.
Result<void, std::string> absolute(const std::string& path) {
    if (!path.empty() && path.front() == '/') return {};
    return fail("the runtime folder must be an absolute path, not '" + path + "'");
}

}  // namespace

RuntimeDirectory prepareRuntimeDirectory(const std::string& path) {
    RuntimeDirectory result{path, {}};
    if (auto checked = absolute(path); !checked) {
        result.problem = std::move(checked).error();
        return result;
    }
    if (::mkdir(path.c_str(), 0700) != 0 && errno != EEXIST) {
        result.problem = std::string("cannot create the runtime folder: ") + std::strerror(errno);
        return result;
    }
    return checkRuntimeDirectory(path);
}

RuntimeDirectory checkRuntimeDirectory(const std::string& path) {
    RuntimeDirectory result{path, {}};
    struct stat info {};
    if (auto checked = absolute(path); !checked) {
        result.problem = std::move(checked).error();
    } else if (::lstat(path.c_str(), &info) != 0) {
        result.problem = std::string("cannot inspect the runtime folder: ") + std::strerror(errno);
    } else if (S_ISLNK(info.st_mode)) {
        result.problem = "the runtime folder is a symbolic link";
    } else if (!S_ISDIR(info.st_mode)) {
        result.problem = "the runtime folder is not a folder";
    } else if (info.st_uid != ::geteuid()) {
        result.problem = "the runtime folder belongs to another user";
    } else if ((info.st_mode & 077) != 0) {
        result.problem = "the runtime folder is open to group or others";
    }
    return result;
}

std::string runtimeDirectoryHelp(const std::string& resolved) {
    return "Runtime folder (the host's socket): " + resolved +
           "\n"
           "  from --runtime-dir, else $TALLYWICK_RUNTIME_DIR, else $XDG_RUNTIME_DIR/tallywick,\n"
           "  else /run/user/UID/tallywick when that folder is private, else /tmp/tallywick-UID.\n";
}

std::string endpointPath(const std::string& runtimeDirectory) {
    return runtimeDirectory + "/" + tallywickMachServiceName();
}

}  // namespace tallywick
