// SPDX-License-Identifier: MIT
// The application's model and windows against a real host process: agents
// reach the host over the same sockets as a bridge would, and the model
// follows the host through its own client.
#include <QElapsedTimer>
#include <QFileInfo>
#include <QMainWindow>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <memory>

#include <tallywick/app/AppModel.h>
#include <tallywick/app/PlaceholderRootView.h>
#include <tallywick/app/TallywickApp.h>

#include "support/HostClients.h"
#include "support/HostProcess.h"

using namespace tallywick;
using tallywick::testing::AgentLink;
using tallywick::testing::HostProcess;

namespace {

constexpr int kPatience = 15000;

std::string initializeLine(const std::string& client) {
    return R"({"jsonrpc":"2.0","id":1,"method":"initialize","params":{"protocolVersion":"2025-11-25",)"
           R"("capabilities":{},"clientInfo":{"name":")" +
           client + R"(","version":"1.0"}}})";
}

std::string pingLine(int id) {
    return R"({"jsonrpc":"2.0","id":)" + std::to_string(id) + R"(,"method":"ping"})";
}

ApiLogEntry logRecord(int number, Date timestamp) {
    return {
        .id = "L" + std::to_string(number), .connectionId = "C1", .payload = "{}", .timestamp = timestamp};
}

// A host in a scratch folder, and a model with its own I/O thread that
// counts its login-item registrations instead of touching the user's.
struct Bench {
    QTemporaryDir folder;
    HostProcess host{folder.filePath("host").toStdString(), TALLYWICK_HOST_PATH};
    IoThread io;
    int registrations = 0;
    std::unique_ptr<AppModel> model;
    std::vector<std::unique_ptr<AgentLink>> agents;

    Bench() { model = std::make_unique<AppModel>(io, options()); }
    ~Bench() { model.reset(); }

    bool startHost() {
        const bool up = host.start();
        if (!up) qWarning("%s", host.stderrText().c_str());
        return up;
    }

    AppModel::Options options() {
        return {.endpoint = {host.socketPath(), tallywickHostRequirement()},
                .registerLoginItem = [this] { ++registrations; }};
    }

    // An agent known by its client information: the host makes it an account.
    bool connectAgent(const std::string& name) {
        agents.push_back(std::make_unique<AgentLink>(host.socketPath()));
        return agents.back()->send(initializeLine(name)).has_value();
    }

    const Account* account(const std::string& name) const {
        for (const auto& account : model->accounts()) {
            if (account.displayName == name) return &account;
        }
        return nullptr;
    }

    Snapshot current() const {
        return {model->accounts(), model->entries(), model->connections(),
                model->settings(), model->apiLog(),  model->hostVersion()};
    }
};

}  // namespace

class ModelTest : public QObject {
    Q_OBJECT

private slots:
    void selectionSurvivesReorderAndStaysWhenItsAccountGoes() {
        Bench bench;
        QVERIFY(bench.startHost());
        AppModel& model = *bench.model;
        for (const char* name : {"alpha", "beta", "gamma"}) QVERIFY(bench.connectAgent(name));
        model.start();
        QTRY_COMPARE_WITH_TIMEOUT(model.accounts().size(), std::size_t{3}, kPatience);
        const std::string first = *model.selectedAccountID();
        QSignalSpy selection(&model, &AppModel::selectedAccountIDChanged);
        QSignalSpy accounts(&model, &AppModel::accountsChanged);

        Snapshot reordered = bench.current();
        std::reverse(reordered.accounts.begin(), reordered.accounts.end());
        model.applySnapshot(reordered);
        QCOMPARE(accounts.count(), 1);
        QVERIFY(model.accounts().back().id == first);
        QVERIFY(model.selectedAccountID() == first);

        Snapshot without = bench.current();
        without.accounts.pop_back();
        model.applySnapshot(without);
        QVERIFY(model.selectedAccountID() == first);
        QVERIFY(!model.selectedAccount());
        QCOMPARE(selection.count(), 0);
    }

    void commandsReachTheHostAndComeBackThroughTheSnapshot() {
        Bench bench;
        QVERIFY(bench.startHost());
        AppModel& model = *bench.model;
        QVERIFY(bench.connectAgent("alpha"));
        model.start();
        QTRY_VERIFY_WITH_TIMEOUT(bench.account("alpha"), kPatience);
        const std::string id = bench.account("alpha")->id;
        const std::int64_t opening = bench.account("alpha")->balance;

        model.createEntry(
            {.accountId = id, .kind = TransactionKind::credit, .amount = 25, .memo = "found a bug"});
        QTRY_COMPARE_WITH_TIMEOUT(model.entriesFor(id).size(), std::size_t{2}, kPatience);
        QCOMPARE(bench.account("alpha")->balance, opening + 25);
        const std::vector<LedgerEntry>& ledger = model.entriesFor(id);
        QCOMPARE(&model.entriesFor(id), &ledger);  // one list per snapshot
        // Edits, deletions and renames go the same way; RecordsTest sends them from the views.

        // A command's change event comes while the command's own snapshot is on
        // its way, which brings the change: the state is fetched once. An
        // explicit refresh, answered after the event, shows it was handled.
        const auto before = model.snapshotsRequested();
        model.createEntry({.accountId = id, .amount = 1, .memo = "once"});
        QTRY_COMPARE_WITH_TIMEOUT(model.entriesFor(id).size(), std::size_t{3}, kPatience);
        model.refresh();
        QTRY_VERIFY_WITH_TIMEOUT(!model.awaitingSnapshot(), kPatience);
        QCOMPARE(model.snapshotsRequested(), before + 2);

        // A refused command changes nothing; the refresh after it shows the same state.
        QSignalSpy entries(&model, &AppModel::entriesChanged);
        model.createEntry({.accountId = "no such account", .amount = 1});
        model.refresh();
        QTRY_VERIFY_WITH_TIMEOUT(!model.awaitingSnapshot(), kPatience);
        QCOMPARE(entries.count(), 0);
        QVERIFY(model.isConnected());
    }

    void apiLogKeepsTheNewestFiveHundredOfItsEvents() {
        Bench bench;
        QVERIFY(bench.startHost());
        AppModel& model = *bench.model;
        model.start();
        QVERIFY(bench.connectAgent("chatty"));
        AgentLink& agent = *bench.agents.back();
        QTRY_COMPARE_WITH_TIMEOUT(model.connections().size(), std::size_t{1}, kPatience);

        // 502 records pushed one by one: only the newest 500 stay, newest first.
        for (int id = 2; id <= 252; ++id) QVERIFY(agent.send(pingLine(id)));
        QTRY_VERIFY_WITH_TIMEOUT(model.apiLog().front().payload.find("\"id\":252") != std::string::npos &&
                                     model.apiLog().front().direction == Direction::response,
                                 kPatience);
        QCOMPARE(model.apiLog().size(), AppModel::apiLogCapacity);
        for (const auto& record : model.apiLog()) {
            QVERIFY(!record.method || *record.method != "initialize");
        }
        // The host's snapshot holds as many as the model keeps: a refresh
        // neither shrinks the list nor moves a row.
        const std::vector<ApiLogEntry> shown = model.apiLog();
        model.refresh();
        QTRY_VERIFY_WITH_TIMEOUT(!model.awaitingSnapshot(), kPatience);
        QCOMPARE(model.apiLog(), shown);

        // A snapshot may bring more: all are kept, newest first, ties in the host's order...
        const Date noon = Date{std::chrono::hours(24 * 20000)};
        Snapshot state = bench.current();
        state.recentApiLog.clear();
        for (int i = 0; i < 600; ++i)
            state.recentApiLog.push_back(logRecord(i, noon + std::chrono::seconds(i / 3)));
        model.applySnapshot(state);
        QCOMPARE(model.apiLog().size(), std::size_t{600});
        QCOMPARE(model.apiLog()[0].id, std::string("L597"));
        QCOMPARE(model.apiLog()[2].id, std::string("L599"));
        QCOMPARE(model.apiLog()[599].id, std::string("L2"));

        // ...until the next event trims the list.
        model.apply(ControlEvent::apiCall(logRecord(1000, noon)));
        QCOMPARE(model.apiLog().size(), AppModel::apiLogCapacity);
        QCOMPARE(model.apiLog()[0].id, std::string("L1000"));
        QCOMPARE(model.apiLog()[499].id, std::string("L99"));
    }

    // No command and no timer: the host's socket appearing in a folder that
    // did not even exist at start brings one snapshot, within a second.
    void hostStartingLaterIsMetAtOnce() {
        Bench bench;
        AppModel& model = *bench.model;
        QSignalSpy connected(&model, &AppModel::isConnectedChanged);
        model.start();
        QTRY_VERIFY_WITH_TIMEOUT(!model.awaitingSnapshot(), kPatience);
        QVERIFY(!model.isConnected());
        QCOMPARE(connected.count(), 0);  // it was never up
        QVERIFY(!QFileInfo::exists(QString::fromStdString(bench.host.runtimeDirectory())));

        QVERIFY(bench.startHost());
        QElapsedTimer sinceListening;
        sinceListening.start();
        QTRY_VERIFY_WITH_TIMEOUT(model.isConnected(), kPatience);
        QVERIFY2(sinceListening.elapsed() < 1000, qPrintable(QString::number(sinceListening.elapsed())));
        QCOMPARE(model.snapshotsRequested(), std::uint64_t{2});  // the first, and one for the host

        // The connection made so hears the host's events.
        QVERIFY(bench.connectAgent("late"));
        QTRY_COMPARE_WITH_TIMEOUT(model.accounts().size(), std::size_t{1}, kPatience);
        QVERIFY(model.selectedAccount());
    }

    void hostKilledWhileConnectedLeavesTheLastStateUntilItReturns() {
        Bench bench;
        QVERIFY(bench.startHost());
        AppModel& model = *bench.model;
        QVERIFY(bench.connectAgent("alpha"));
        model.start();
        QTRY_COMPARE_WITH_TIMEOUT(model.accounts().size(), std::size_t{1}, kPatience);
        QVERIFY(model.isConnected());
        bench.agents.clear();

        QSignalSpy connected(&model, &AppModel::isConnectedChanged);
        // Killed, its socket file stays behind; the next host replaces it.
        bench.host.kill(SIGKILL);
        QVERIFY(connected.wait(kPatience));
        QVERIFY(!model.isConnected());
        QCOMPARE(model.accounts().size(), std::size_t{1});  // the last state stays on show

        QVERIFY(bench.startHost());
        QTRY_VERIFY_WITH_TIMEOUT(model.isConnected(), kPatience);
        QTRY_VERIFY_WITH_TIMEOUT(model.connections().empty(), kPatience);
        QCOMPARE(model.accounts().size(), std::size_t{1});

        // Commands go through the new connection.
        model.setStartingPoints(10);
        QTRY_COMPARE_WITH_TIMEOUT(model.settings().startingPoints, std::int64_t{10}, kPatience);
    }

    void windowsShareOneModelStartedOnce() {
        Bench bench;
        QVERIFY(bench.startHost());
        bench.model.reset();
        TallywickApp app(makePlaceholderRootView, bench.options());
        QVERIFY(!app.hasModel());  // made when a window's content asks for it

        MainWindow& first = app.openWindow();
        QVERIFY(app.hasModel());
        QCOMPARE(first.size(), MainWindow::defaultSize);
        QCOMPARE(first.centralWidget()->minimumSize(), MainWindow::minimumContentSize);
        QTRY_VERIFY_WITH_TIMEOUT(app.model().isConnected(), kPatience);

        AppModel* shared = &app.model();
        MainWindow& second = app.openWindow();
        QVERIFY(QTest::qWaitForWindowExposed(&second));
        // The start a window asks for on showing is a posted call: delivered here.
        QCoreApplication::sendPostedEvents();
        QCOMPARE(&app.model(), shared);
        QCOMPARE(bench.registrations, 1);
    }
};

QTEST_MAIN(ModelTest)
#include "ModelTest.moc"
