// SPDX-License-Identifier: MIT
// The desktop manager's executable as a process: the headless switch and
// its exit statuses under each login-item mechanism, and the windowed mode
// that any other argument leads to. Every run has its own home and XDG folders.
#include <signal.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>
#include <cstring>

#include <tallywick/link/RuntimeDirectory.h>
#include <tallywick/link/ServiceIdentity.h>
#include <tallywick/link/SocketAddress.h>

namespace {

const QString kHostIdentifier = QString::fromStdString(tallywick::buildIdentity().hostIdentifier);

QString readAll(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

// A user of their own: home, XDG folders, and a bin folder holding a copy of
// the application (and, when asked, of the host), so that "beside the
// application" means a folder the test controls.
class Sandbox {
public:
    explicit Sandbox(bool withHost) {
        for (const char* folder : {"home", "data", "config", "bin", "nothing"})
            QDir(root_.path()).mkpath(folder);
        QDir(root_.path()).mkpath("run");
        QFile::setPermissions(path("run"), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        QFile::copy(TALLYWICK_APP_PATH, path("bin/tallywick"));
        if (withHost) QFile::copy(TALLYWICK_HOST_PATH, hostPath());
    }
    ~Sandbox() { stopHosts(); }

    QString path(const QString& relative) const { return root_.filePath(relative); }
    QString hostPath() const { return path("bin/tallywick-host"); }
    QString unitPath() const { return path("data/systemd/user/" + kHostIdentifier + ".service"); }
    QString entryPath() const { return path("config/autostart/" + kHostIdentifier + ".desktop"); }
    QString endpoint() const {
        return QString::fromStdString(tallywick::endpointPath(path("run/tallywick").toStdString()));
    }

    // PATH holds only what the case allows: systemctl's folder, or an empty one.
    QProcessEnvironment environment(bool withSystemctl) const {
        QProcessEnvironment env;
        env.insert("HOME", path("home"));
        env.insert("XDG_DATA_HOME", path("data"));
        env.insert("XDG_CONFIG_HOME", path("config"));
        env.insert("XDG_RUNTIME_DIR", path("run"));  // no user manager listens here
        env.insert("QT_QPA_PLATFORM", "offscreen");
        const QString systemctl = QStandardPaths::findExecutable("systemctl");
        env.insert("PATH", withSystemctl ? QFileInfo(systemctl).absolutePath() : path("nothing"));
        return env;
    }

    struct Run {
        int exitCode = -1;
        QByteArray output;
        QByteArray errors;
    };
    Run run(const QStringList& arguments, bool withSystemctl, const QString& program = {}) const {
        return run(arguments, environment(withSystemctl), program);
    }
    Run run(const QStringList& arguments, const QProcessEnvironment& env, const QString& program = {}) const {
        QProcess process;
        process.setProcessEnvironment(env);
        process.start(program.isEmpty() ? path("bin/tallywick") : program, arguments);
        const bool finished = process.waitForFinished(30000);
        if (!finished) process.kill();
        return {finished && process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
                process.readAllStandardOutput(), process.readAllStandardError()};
    }

    // Hosts that registration started detached from it: found by their executable.
    QList<pid_t> runningHosts() const {
        QList<pid_t> pids;
        const QString host = QFileInfo(hostPath()).canonicalFilePath();
        if (host.isEmpty()) return pids;  // no copy of the host, so none of ours runs
        for (const QString& entry : QDir("/proc").entryList(QDir::Dirs)) {
            bool number = false;
            const pid_t pid = entry.toInt(&number);
            if (number && QFileInfo("/proc/" + entry + "/exe").symLinkTarget() == host) pids << pid;
        }
        return pids;
    }
    void stopHosts() const {
        for (pid_t pid : runningHosts()) ::kill(pid, SIGTERM);
        for (int i = 0; i < 200 && !runningHosts().isEmpty(); ++i) QThread::msleep(20);
    }

private:
    QTemporaryDir root_;
};

bool accepts(const QString& endpoint) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const QByteArray path = endpoint.toLocal8Bit();
    if (path.size() >= static_cast<qsizetype>(sizeof address.sun_path)) return false;
    std::memcpy(address.sun_path, path.constData(), path.size() + 1);
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const bool ok = ::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    ::close(fd);
    return ok;
}

// Whether a window of the application answers in the runtime folder.
bool windowAnswers(const QString& runtime) {
    return tallywick::acceptsConnections(runtime.toStdString() + "/window/socket");
}

}  // namespace

class EntryTest : public QObject {
    Q_OBJECT

private slots:
    void systemdServiceIsEnabledWithoutUserManagerAndHostStarted() {
        if (QStandardPaths::findExecutable("systemctl").isEmpty()) QSKIP("systemctl is not installed");
        Sandbox sandbox(true);
        // The switch among other arguments, in the middle.
        const auto run = sandbox.run({"--verbose", "--register-and-exit", "extra"}, true);
        QCOMPARE(run.exitCode, 0);
        QVERIFY(run.output.isEmpty());
        QVERIFY2(run.errors.isEmpty(), run.errors.constData());
        QVERIFY(readAll(sandbox.unitPath()).contains(sandbox.hostPath()));
        QVERIFY(QFileInfo::exists(
            sandbox.path("config/systemd/user/default.target.wants/" + kHostIdentifier + ".service")));
        // Without a user manager the host was started directly, and it serves.
        QCOMPARE(sandbox.runningHosts().size(), 1);
        QVERIFY(accepts(sandbox.endpoint()));

        // Again, with the host already running: still enabled, still one host.
        // A host it started would be running before it exits.
        QCOMPARE(sandbox.run({"--register-and-exit"}, true).exitCode, 0);
        QCOMPARE(sandbox.runningHosts().size(), 1);
    }

    void maskedServiceAwaitsTheUser() {
        if (QStandardPaths::findExecutable("systemctl").isEmpty()) QSKIP("systemctl is not installed");
        Sandbox sandbox(true);
        QCOMPARE(sandbox.run({"--register-and-exit"}, true).exitCode, 0);
        sandbox.stopHosts();
        QProcess mask;
        mask.setProcessEnvironment(sandbox.environment(true));
        mask.start("systemctl", {"--user", "mask", kHostIdentifier + ".service"});
        QVERIFY(mask.waitForFinished() && mask.exitCode() == 0);

        const auto run = sandbox.run({"--register-and-exit"}, true);
        QCOMPARE(run.exitCode, 2);
        QVERIFY(run.errors.isEmpty());
        // The user's mask stands, and no host was started against it.
        QCOMPARE(
            QFileInfo(sandbox.path("config/systemd/user/" + kHostIdentifier + ".service")).symLinkTarget(),
            QString("/dev/null"));
        QVERIFY(sandbox.runningHosts().isEmpty());
    }

    void autostartEntryWithoutSystemctl() {
        Sandbox sandbox(true);
        const auto run = sandbox.run({"--register-and-exit"}, false);
        QCOMPARE(run.exitCode, 0);
        QVERIFY(run.output.isEmpty() && run.errors.isEmpty());
        const QString entry = readAll(sandbox.entryPath());
        QVERIFY(entry.contains("\nTryExec=" + sandbox.hostPath() + "\n"));
        QVERIFY(entry.contains("\nExec=\"" + sandbox.hostPath() + "\"\n"));
        QCOMPARE(sandbox.runningHosts().size(), 1);
        QVERIFY(accepts(sandbox.endpoint()));
    }

    void autostartEntryHiddenByUserAwaitsTheUser() {
        Sandbox sandbox(true);
        QDir().mkpath(sandbox.path("config/autostart"));
        const QByteArray hidden =
            "[Desktop Entry]\nType=Application\nName=Tallywick Host\nExec=/x\nHidden=true\n";
        QFile file(sandbox.entryPath());
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(hidden);
        file.close();

        const auto run = sandbox.run({"--register-and-exit"}, false);
        QCOMPARE(run.exitCode, 2);
        QVERIFY(run.errors.isEmpty());
        QCOMPARE(readAll(sandbox.entryPath()).toUtf8(), hidden);  // left as the user set it
        QVERIFY(sandbox.runningHosts().isEmpty());
    }

    // A copy of the application without the host beside it registers
    // nothing: what an installed copy registered stays as it was.
    void strayCopyWithoutHostIsNotFoundAndChangesNothing() {
        Sandbox sandbox(true);
        for (const bool withSystemctl : {false, true}) {
            if (withSystemctl && QStandardPaths::findExecutable("systemctl").isEmpty()) continue;
            QCOMPARE(sandbox.run({"--register-and-exit"}, withSystemctl).exitCode, 0);
            sandbox.stopHosts();
            const QString registered = readAll(withSystemctl ? sandbox.unitPath() : sandbox.entryPath());
            QVERIFY(registered.contains(sandbox.hostPath()));

            QDir(sandbox.path("")).mkpath("stray");
            QFile::copy(sandbox.path("bin/tallywick"), sandbox.path("stray/tallywick"));
            const auto run =
                sandbox.run({"--register-and-exit"}, withSystemctl, sandbox.path("stray/tallywick"));
            QCOMPARE(run.exitCode, 1);
            QVERIFY(run.output.isEmpty() && run.errors.isEmpty());
            QCOMPARE(readAll(withSystemctl ? sandbox.unitPath() : sandbox.entryPath()), registered);
        }
    }

    // What registration did is taken back under both mechanisms: the host it
    // started stops, the item it wrote goes, and a second time finds nothing.
    void unregisterStopsTheHostAndRemovesTheItem() {
        for (const bool withSystemctl : {false, true}) {
            if (withSystemctl && QStandardPaths::findExecutable("systemctl").isEmpty()) continue;
            Sandbox sandbox(true);
            const QString item = withSystemctl ? sandbox.unitPath() : sandbox.entryPath();
            QCOMPARE(sandbox.run({"--register-and-exit"}, withSystemctl).exitCode, 0);
            QVERIFY(QFileInfo::exists(item));
            QCOMPARE(sandbox.runningHosts().size(), 1);
            if (withSystemctl)
                QVERIFY(
                    readAll(item).contains("\nConditionFileIsExecutable=\"" + sandbox.hostPath() + "\"\n"));

            for (int time = 0; time < 2; ++time) {
                const auto run = sandbox.run({"--unregister-and-exit"}, withSystemctl);
                QCOMPARE(run.exitCode, 0);
                QVERIFY2(run.errors.isEmpty(), run.errors.constData());
                QVERIFY(!QFileInfo::exists(item));
                QVERIFY(sandbox.runningHosts().isEmpty());
                QVERIFY(!accepts(sandbox.endpoint()));
            }
            if (withSystemctl) {
                QVERIFY(!QFileInfo::exists(sandbox.path("config/systemd/user/default.target.wants/" +
                                                        kHostIdentifier + ".service")));
            }
        }
    }

    // Asking what the program is makes no window and registers nothing.
    void helpAndVersionPrintAndExit() {
        Sandbox sandbox(false);
        const auto version = sandbox.run({"--version"}, false);
        QCOMPARE(version.exitCode, 0);
        QVERIFY(version.output.startsWith("tallywick 0."));
        const auto help = sandbox.run({"-x", "--help"}, false);
        QCOMPARE(help.exitCode, 0);
        QVERIFY(help.output.contains("--register-and-exit"));
        QVERIFY(help.output.contains("--unregister-and-exit"));
        QVERIFY(!QFileInfo::exists(sandbox.entryPath()));
    }

    // Neither a value appended to the switch nor another letter case is the
    // switch: the window opens, the model starts, and its quiet registration
    // (no host beside the copy) logs the one line, to the journal when stderr is it.
    void lookalikeSwitchesStartTheWindow() {
        for (const bool journal : {true, false}) {
            Sandbox sandbox(false);
            const QString errors = sandbox.path("stderr.txt");
            QFile(errors).open(QIODevice::WriteOnly);
            struct stat info {};
            QCOMPARE(::stat(errors.toLocal8Bit().constData(), &info), 0);
            QProcessEnvironment env = sandbox.environment(false);
            env.insert("JOURNAL_STREAM",
                       journal ? QString("%1:%2").arg(info.st_dev).arg(info.st_ino) : "1:1");

            QProcess process;
            process.setProcessEnvironment(env);
            process.setStandardErrorFile(errors);
            process.start(sandbox.path("bin/tallywick"),
                          {journal ? "--register-and-exit=1" : "--Register-And-Exit", "-x"});
            QVERIFY(process.waitForStarted());
            // Qt's offscreen platform may say something of its own first.
            const QString line = QString(journal ? "\n<3>" : "\n") +
                                 "Tallywick: LaunchAgent registration failed: the host executable is missing";
            QTRY_VERIFY_WITH_TIMEOUT(("\n" + readAll(errors)).contains(line), 15000);
            QCOMPARE(readAll(errors).count("registration failed"), 1);
            QCOMPARE(process.state(), QProcess::Running);
            process.terminate();
            QVERIFY(process.waitForFinished(10000));
        }
    }

    // A second start while a window is open asks that window forward, which
    // answers, and leaves at once with 0, in a runtime folder of any length;
    // asking for the version still only prints it.
    void secondStartRaisesTheOpenWindow() {
        for (const bool longFolder : {false, true}) {
            Sandbox sandbox(false);
            QProcessEnvironment env = sandbox.environment(false);
            QString runtime = sandbox.path("run/tallywick");
            if (longFolder) {
                runtime = sandbox.path("run/" + QString(110, 'r'));
                env.insert("TALLYWICK_RUNTIME_DIR", runtime);
            }
            QProcess first;
            first.setProcessEnvironment(env);
            first.start(sandbox.path("bin/tallywick"));
            QTRY_VERIFY_WITH_TIMEOUT(windowAnswers(runtime), 15000);

            QElapsedTimer clock;
            clock.start();
            const auto second = sandbox.run({}, env);
            QCOMPARE(second.exitCode, 0);
            QVERIFY2(clock.elapsed() < 5000, QByteArray::number(clock.elapsed()));
            QVERIFY2(second.errors.isEmpty(), second.errors.constData());
            QVERIFY(sandbox.run({"--version"}, env).output.startsWith("tallywick 0."));
            QCOMPARE(first.state(), QProcess::Running);
            first.terminate();
            QVERIFY(first.waitForFinished(10000));
        }
    }

    // A killed window's socket file stays behind; the next start replaces
    // it and is the window later starts raise.
    void killedWindowsSocketIsReplaced() {
        Sandbox sandbox(false);
        const QProcessEnvironment env = sandbox.environment(false);
        const QString runtime = sandbox.path("run/tallywick");
        QProcess killed;
        killed.setProcessEnvironment(env);
        killed.start(sandbox.path("bin/tallywick"));
        QTRY_VERIFY_WITH_TIMEOUT(windowAnswers(runtime), 15000);
        killed.kill();
        QVERIFY(killed.waitForFinished(10000));
        QVERIFY(QFileInfo::exists(runtime + "/window/socket"));
        QVERIFY(!windowAnswers(runtime));

        QProcess next;
        next.setProcessEnvironment(env);
        next.start(sandbox.path("bin/tallywick"));
        QTRY_VERIFY_WITH_TIMEOUT(windowAnswers(runtime), 15000);
        QCOMPARE(next.state(), QProcess::Running);
        QCOMPARE(sandbox.run({}, env).exitCode, 0);
        QCOMPARE(next.state(), QProcess::Running);
        next.terminate();
        QVERIFY(next.waitForFinished(10000));
    }

    // A runtime folder others may enter holds no claim: the window opens
    // anyway and says what to fix.
    void unsafeRuntimeFolderStillOpensTheWindow() {
        Sandbox sandbox(false);
        QVERIFY(QDir().mkpath(sandbox.path("run/tallywick")));
        QVERIFY(QFile::setPermissions(sandbox.path("run/tallywick"), QFile::ReadOwner | QFile::WriteOwner |
                                                                         QFile::ExeOwner | QFile::ReadGroup |
                                                                         QFile::ExeGroup));
        QProcess window;
        window.setProcessEnvironment(sandbox.environment(false));
        window.start(sandbox.path("bin/tallywick"));
        QByteArray errors;
        QTRY_VERIFY_WITH_TIMEOUT(
            (errors += window.readAllStandardError()).contains("open to group or others"), 15000);
        QCOMPARE(window.state(), QProcess::Running);
        window.terminate();
        QVERIFY(window.waitForFinished(10000));
    }
};

QTEST_GUILESS_MAIN(EntryTest)
#include "EntryTest.moc"
