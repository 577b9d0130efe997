#include <tallywick/RegistrationController.h>

#include <sys/stat.h>
#include <unistd.h>

#include <QCoreApplication>
#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace tallywick::RegistrationController {
namespace {

std::unique_ptr<LoginItem> standardItem() {
    return LoginItem::standard(LoginItemSetup::fromEnvironment(hostExecutablePath()));
}

// systemd sets JOURNAL_STREAM to "device:inode" of the stream it connected;
// it only names our stderr if that is still the same file.
bool stderrIsJournal() {
    const char* stream = std::getenv("JOURNAL_STREAM");
    struct stat info {};
    if (!stream || ::fstat(STDERR_FILENO, &info) != 0) return false;
    const std::string expected = std::to_string(static_cast<unsigned long long>(info.st_dev)) + ":" +
                                 std::to_string(static_cast<unsigned long long>(info.st_ino));
    return expected == stream;
}

}  // namespace

int exitStatus(LoginItemStatus status) {
    switch (status) {
        case LoginItemStatus::enabled: return 0;
        case LoginItemStatus::requiresApproval: return 2;
        case LoginItemStatus::notRegistered:
        case LoginItemStatus::notFound: return 1;
    }
    return 1;
}

int runHeadless() {
    standardItem()->registerItem();  // the reason is not reported in this mode
    // A fresh look, as another program would take it.
    return exitStatus(standardItem()->status());
}

int runHeadless(LoginItem& item) {
    item.registerItem();
    return exitStatus(item.status());
}

void registerQuietly() {
    registerQuietly(*standardItem());
}

void registerQuietly(LoginItem& item) {
    if (auto failure = item.registerItem()) logFailure(*failure);
}

std::string hostExecutablePath() {
    std::filesystem::path folder;
    if (QCoreApplication::instance()) {
        folder = QCoreApplication::applicationDirPath().toStdString();
    } else {
        // Headless registration runs before any application object exists.
        std::error_code error;
        folder = std::filesystem::read_symlink("/proc/self/exe", error).parent_path();
    }
    return (folder / "tallywick-host").string();
}

std::string failureLine(std::string_view reason) {
    std::string line = stderrIsJournal() ? "<3>" : "";
    line += "Tallywick: LaunchAgent registration failed: ";
    // One line, whatever the reason holds.
    for (const char c : reason) line += (c == '\n' || c == '\r') ? ' ' : c;
    return line + "\n";
}

void logFailure(std::string_view reason) {
    const std::string line = failureLine(reason);
    // One write, so that the line is not interleaved with other output.
    [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, line.data(), line.size());
}

}  // namespace tallywick::RegistrationController
