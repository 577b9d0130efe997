// SPDX-License-Identifier: MIT
#pragma once

// A real host in a scratch folder, agents that reach it as a bridge would,
// and the application's window over it with the real views, driven through
// mouse and keyboard.
#include <QAbstractItemModelTester>
#include <QApplication>
#include <QComboBox>
#include <QJsonDocument>
#include <QJsonObject>
#include <QKeyEvent>
#include <QLineEdit>
#include <QTableView>
#include <QTemporaryDir>
#include <QTest>
#include <memory>
#include <string>
#include <vector>

#include <tallywick/app/AppModel.h>
#include <tallywick/app/TallywickApp.h>
#include <tallywick/link/ServiceIdentity.h>
#include <tallywick/ui/AccountsSidebar.h>
#include <tallywick/ui/AccountsSidebarModel.h>
#include <tallywick/ui/AddEntryView.h>
#include <tallywick/ui/EntryFields.h>
#include <tallywick/ui/LedgerItemModel.h>
#include <tallywick/ui/LedgerListView.h>
#include <tallywick/ui/LedgerRowDelegate.h>
#include <tallywick/ui/LedgerTableView.h>
#include <tallywick/ui/RootView.h>

#include "support/HostClients.h"
#include "support/HostProcess.h"

namespace tallywick::testing {

inline constexpr int kPatience = 15000;

inline std::string initializeLine(const std::string& name, const std::string& extra = {}) {
    return R"({"jsonrpc":"2.0","id":1,"method":"initialize","params":{"protocolVersion":"2025-11-25",)"
           R"("capabilities":{},"clientInfo":{"name":")" +
           name + R"(","version":"1.0")" + extra + "}}}";
}

// The handshake of an agent that says `clientInfo` of itself, whatever its texts hold.
inline std::string initializeLine(const QJsonObject& clientInfo) {
    const QJsonObject params{
        {"protocolVersion", "2025-11-25"}, {"capabilities", QJsonObject()}, {"clientInfo", clientInfo}};
    const QJsonObject call{{"jsonrpc", "2.0"}, {"id", 1}, {"method", "initialize"}, {"params", params}};
    return QJsonDocument(call).toJson(QJsonDocument::Compact).toStdString();
}

inline std::string signUpLine(const std::string& displayName) {
    return R"({"jsonrpc":"2.0","id":2,"method":"tools/call","params":{"name":"signUp",)"
           R"("arguments":{"key":"correct horse battery","displayName":")" +
           displayName + R"("}}})";
}

class RecordsWindow {
public:
    RecordsWindow() = default;
    ~RecordsWindow() {
        testers_.clear();
        app_.reset();
    }

    // Starts the host (unless told not to), opens the window and waits for the first snapshot.
    bool open(bool withHost = true) {
        if (withHost && !host_.start()) {
            qWarning("%s", host_.stderrText().c_str());
            return false;
        }
        app_ = std::make_unique<TallywickApp>(
            makeRootView, AppModel::Options{.endpoint = {host_.socketPath(), tallywickHostRequirement()},
                                            .registerLoginItem = [] {}});
        window_ = &app_->openWindow();
        if (!QTest::qWaitForWindowExposed(window_)) return false;
        // Every list model is checked for consistency on every change from here on.
        for (QAbstractItemModel* items : {static_cast<QAbstractItemModel*>(&sidebar().items()),
                                          static_cast<QAbstractItemModel*>(ledger().items())}) {
            testers_.push_back(std::make_unique<QAbstractItemModelTester>(
                items, QAbstractItemModelTester::FailureReportingMode::QtTest));
        }
        return !withHost || QTest::qWaitFor([&] { return model().isConnected(); }, kPatience);
    }

    // Opens over a host with one agent already known by its client information.
    bool openWithAgent(const std::string& name, const std::string& extra = {}) {
        return open() && connectAgent(name, extra) && waitForAccounts(1);
    }

    TallywickApp& app() { return *app_; }
    AppModel& model() { return app_->model(); }
    MainWindow& window() { return *window_; }
    HostProcess& host() { return host_; }

    template <class T>
    T* find(const char* name) {
        return window_->findChild<T*>(QString::fromLatin1(name));
    }
    AccountsSidebar& sidebar() { return *find<AccountsSidebar>("accountsSidebar"); }
    LedgerListView& ledger() { return *find<LedgerListView>("ledgerListView"); }
    EntryFields& addFields() { return *find<AddEntryView>("addEntryView")->fields(); }

    // An agent known by its client information: the host makes it an account.
    bool connectAgent(const std::string& name, const std::string& extra = {}) {
        agents_.push_back(std::make_unique<AgentLink>(host_.socketPath()));
        return agents_.back()->send(initializeLine(name, extra)).has_value();
    }
    // An agent that has said something other than hello: a connection without client information.
    bool connectWith(const std::string& line) {
        agents_.push_back(std::make_unique<AgentLink>(host_.socketPath()));
        return agents_.back()->send(line).has_value();
    }
    void dropAgents() { agents_.clear(); }

    const Account* account(const std::string& name) {
        for (const auto& account : model().accounts()) {
            if (account.displayName == name) return &account;
        }
        return nullptr;
    }
    // Waits until every command sent so far has reached the host and its
    // state has come back: a snapshot asked for behind them on the one
    // ordered connection (each command's own refresh is asked for before
    // that answer arrives). What did not happen by then will not.
    bool settle() {
        model().refresh();
        return QTest::qWaitFor([&] { return !model().awaitingSnapshot(); }, kPatience);
    }

    bool waitForAccounts(std::size_t count) {
        return QTest::qWaitFor([&] { return model().accounts().size() == count; }, kPatience);
    }
    // The selected account's ledger as the host last reported it.
    const std::vector<LedgerEntry>& shownEntries() {
        return model().entriesFor(*model().selectedAccountID());
    }
    bool waitForEntries(std::size_t count) {
        return QTest::qWaitFor([&] { return ledger().items()->rowCount() == static_cast<int>(count); },
                               kPatience);
    }

    void click(QAbstractItemView& view, const QModelIndex& index) {
        QTest::mouseClick(view.viewport(), Qt::LeftButton, {}, view.visualRect(index).center());
    }
    void clickRowButton(int row, bool edit) {
        QTableView& list = *ledger().list();
        list.scrollTo(list.model()->index(row, 0));
        const QRect rect = list.visualRect(list.model()->index(row, 0));
        const QRect button =
            edit ? LedgerRowDelegate::editButtonRect(rect) : LedgerRowDelegate::deleteButtonRect(rect);
        QTest::mouseMove(list.viewport(), button.center());
        QTest::mouseClick(list.viewport(), Qt::LeftButton, {}, button.center());
    }

    // Types into a field as a person would: select what is there, type over it.
    static void typeInto(QLineEdit* field, const QString& text) {
        field->setFocus();
        field->selectAll();
        QTest::keyClick(field, Qt::Key_Backspace);
        for (const QChar c : text) {
            if (c.unicode() < 128) {
                QTest::keyClick(field, c.toLatin1());
            } else {
                // Beyond ASCII, as a keyboard layout or input method delivers it.
                QKeyEvent press(QEvent::KeyPress, Qt::Key_unknown, Qt::NoModifier, QString(c));
                QApplication::sendEvent(field, &press);
            }
        }
    }
    // Picks a type with the keyboard: to the top of the list, then down.
    static void pickType(EntryFields& fields, EntryType type) {
        QComboBox* picker = fields.typePicker();
        picker->setFocus();
        QTest::keyClick(picker, Qt::Key_Home);
        for (const EntryType each : allEntryTypes) {
            if (each == type) break;
            QTest::keyClick(picker, Qt::Key_Down);
        }
    }

private:
    QTemporaryDir folder_;
    HostProcess host_{folder_.filePath("host").toStdString(), TALLYWICK_HOST_PATH};
    std::vector<std::unique_ptr<AgentLink>> agents_;
    std::unique_ptr<TallywickApp> app_;
    MainWindow* window_ = nullptr;
    std::vector<std::unique_ptr<QAbstractItemModelTester>> testers_;
};

}  // namespace tallywick::testing
