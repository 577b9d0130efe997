// SPDX-License-Identifier: MIT
// The parts of the views that are plain rules: number formats, entry types,
// the amount rule, and row updates by identity under Qt's model checker.
#include <QAbstractItemModelTester>
#include <QSignalSpy>
#include <QTest>
#include <algorithm>
#include <limits>
#include <list>

#include <tallywick/app/DataText.h>
#include <tallywick/ui/AccountsSidebarModel.h>
#include <tallywick/ui/AmountText.h>
#include <tallywick/ui/AppStyle.h>
#include <tallywick/ui/EntryType.h>
#include <tallywick/ui/LedgerItemModel.h>

using namespace tallywick;

namespace {

constexpr auto kMax = std::numeric_limits<std::int64_t>::max();
constexpr auto kMin = std::numeric_limits<std::int64_t>::min();

std::vector<LedgerEntry> ledger(const std::string& ids, const std::string& memo = "") {
    std::vector<LedgerEntry> entries;
    for (const char id : ids) entries.push_back({.id = std::string(1, id), .accountId = "A", .memo = memo});
    return entries;
}

std::string idsOf(const LedgerItemModel& model) {
    std::string ids;
    for (int row = 0; row < model.rowCount(); ++row)
        ids += model.index(row).data(LedgerItemModel::IdRole).toString().toStdString();
    return ids;
}

}  // namespace

class StyleTest : public QObject {
    Q_OBJECT

private slots:
    void signedAmountsAndBalances() {
        QCOMPARE(AppStyle::signedAmountText(1), QString("+1"));
        QCOMPARE(AppStyle::signedAmountText(0), QString("0"));
        QCOMPARE(AppStyle::signedAmountText(-1), QString("-1"));
        QCOMPARE(AppStyle::signedAmountText(kMax), QString("+9223372036854775807"));
        QCOMPARE(AppStyle::signedAmountText(kMin), QString("-9223372036854775808"));
        QCOMPARE(AppStyle::plainAmountText(1500), QString("1500"));
        QCOMPARE(AppStyle::plainAmountText(-7), QString("-7"));

        // Colours by sign, and each readable on its palette: light and dark differ.
        QPalette light(Qt::black, QColor(250, 250, 250));
        light.setColor(QPalette::WindowText, Qt::black);
        QPalette dark(Qt::white, QColor(30, 30, 30));
        dark.setColor(QPalette::WindowText, Qt::white);
        QVERIFY(!AppStyle::isDark(light) && AppStyle::isDark(dark));
        for (const QPalette& palette : {light, dark}) {
            QCOMPARE(AppStyle::amountColor(12, palette), AppStyle::creditColor(palette));
            QCOMPARE(AppStyle::amountColor(-7, palette), AppStyle::debitColor(palette));
            QCOMPARE(AppStyle::amountColor(0, palette), AppStyle::noteColor(palette));
            const QColor background = palette.color(QPalette::Window);
            for (const QColor& colour : {AppStyle::creditColor(palette), AppStyle::debitColor(palette),
                                         AppStyle::bonusColor(palette), AppStyle::penaltyColor(palette)}) {
                QVERIFY2(qAbs(colour.lightness() - background.lightness()) > 70, qPrintable(colour.name()));
            }
        }
        QVERIFY(AppStyle::creditColor(light) != AppStyle::creditColor(dark));
    }

    void entryTypesMapBothWays() {
        QCOMPARE(allEntryTypes.size(), std::size_t{5});
        const std::array<const char*, 5> texts{"credit", "bonus", "debit", "penalty", "note"};
        const std::array<const char*, 5> labels{"Credit", "Bonus", "Debit", "Penalty", "Note"};
        for (std::size_t i = 0; i < allEntryTypes.size(); ++i) {
            QCOMPARE(entryTypeText(allEntryTypes[i]), std::string_view(texts[i]));
            QCOMPARE(entryTypeLabel(allEntryTypes[i]), std::string_view(labels[i]));
            QCOMPARE(entryTypeFromText(texts[i]), std::optional(allEntryTypes[i]));
            QCOMPARE(entryTypeOf(kindOf(allEntryTypes[i]), flagOf(allEntryTypes[i])), allEntryTypes[i]);
        }
        for (const char* other : {"Credit", "", "credit ", "none"}) QVERIFY(!entryTypeFromText(other));
        QCOMPARE(kindOf(EntryType::bonus), TransactionKind::credit);
        QCOMPARE(flagOf(EntryType::penalty), LedgerFlag::penalty);
        // A flag that does not fit the kind is ignored.
        QCOMPARE(entryTypeOf(TransactionKind::credit, LedgerFlag::penalty), EntryType::credit);
        QCOMPARE(entryTypeOf(TransactionKind::debit, LedgerFlag::bonus), EntryType::debit);
        QCOMPARE(entryTypeOf(TransactionKind::note, LedgerFlag::bonus), EntryType::note);
        QCOMPARE(entryTypeOf(TransactionKind::note, LedgerFlag::penalty), EntryType::note);
    }

    void amountTextRule() {
        QCOMPARE(AmountText::read("25"), std::optional<std::int64_t>(25));
        QCOMPARE(AmountText::read("+25"), std::optional<std::int64_t>(25));
        QCOMPARE(AmountText::read("-5"), std::optional<std::int64_t>(-5));
        QCOMPARE(AmountText::read("007"), std::optional<std::int64_t>(7));
        QCOMPARE(AmountText::read("9223372036854775807"), std::optional(kMax));
        QCOMPARE(AmountText::read("-9223372036854775808"), std::optional(kMin));
        for (const char* bad :
             {"", "+", "-", "+-5", "--5", " 25", "25 ", "2 5", "2.5", "1,000", "1e3", "0x10",
              "9223372036854775808", "-9223372036854775809", "99999999999999999999", "\u0663", "\uff15"}) {
            QVERIFY2(!AmountText::read(QString::fromUtf8(bad)), bad);
        }

        QCOMPARE(AmountText::amountToSend(EntryType::credit, "12"), std::int64_t{12});
        QCOMPARE(AmountText::amountToSend(EntryType::debit, "-8"), std::int64_t{0});
        QCOMPARE(AmountText::amountToSend(EntryType::bonus, "abc"), std::int64_t{0});
        QCOMPARE(AmountText::amountToSend(EntryType::penalty, ""), std::int64_t{0});
        QCOMPARE(AmountText::amountToSend(EntryType::note, "50"), std::int64_t{0});

        QVERIFY(AmountText::canAdd(EntryType::credit, "25", ""));
        QVERIFY(!AmountText::canAdd(EntryType::debit, "0", "memo"));
        QVERIFY(!AmountText::canAdd(EntryType::bonus, "-5", "memo"));
        QVERIFY(!AmountText::canAdd(EntryType::note, "25", ""));
        QVERIFY(AmountText::canAdd(EntryType::note, "junk", " "));
    }

    void ledgerRowsUpdateByIdentity() {
        LedgerItemModel model;
        QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
        // The model reads the lists in place: each stays alive while it is shown.
        std::list<std::vector<LedgerEntry>> shown;
        const auto show = [&](std::vector<LedgerEntry> entries) {
            shown.push_back(std::move(entries));
            model.setEntries(shown.back());
        };
        show(ledger("abcde"));
        const QPersistentModelIndex c = model.index(2);
        int resets = 0;
        connect(&model, &QAbstractItemModel::modelReset, this, [&] { ++resets; });

        // Every kind of change: insert at the head, remove, reorder, duplicates, content only.
        for (const std::string ids : {"xabcde", "abdec", "cabde", "eadcb", "aacb", "bca", "cab", ""}) {
            show(ledger(ids));
            QCOMPARE(idsOf(model), ids);
            if (c.isValid()) QCOMPARE(c.data(LedgerItemModel::IdRole).toString(), QString("c"));
        }
        QCOMPARE(resets, 0);

        show(ledger("abc"));
        const QPersistentModelIndex b = model.index(1);
        auto edited = ledger("abc");
        edited[1].memo = "edited";
        show(edited);
        QCOMPARE(b.data().toString(), DataText::isolated("edited"));
        QCOMPARE(b.row(), 1);

        // A middle too large to match key by key is replaced as a block; head and tail stay.
        std::vector<LedgerEntry> large;
        for (int i = 0; i < 3000; ++i) large.push_back({.id = "e" + std::to_string(i), .accountId = "A"});
        show(large);
        const QPersistentModelIndex last = model.index(2999);
        std::reverse(large.begin() + 1, large.end() - 1);
        show(large);
        QCOMPARE(model.index(1).data(LedgerItemModel::IdRole).toString(), QString("e2998"));
        QCOMPARE(last.row(), 2999);

        // A list that has gone reads as empty rows until the next one arrives.
        bool alive = true;
        model.setEntries(shown.back(), [&] { return alive; });
        alive = false;
        QVERIFY(!model.index(0).data().isValid());
        QVERIFY(!model.entryAt(model.index(0)));
        QCOMPARE(model.rowCount(), 3000);
    }

    void sidebarSectionsFollowTheirLists() {
        AccountsSidebarModel model;
        QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
        const QModelIndex accounts = model.sectionIndex(AccountsSidebarModel::accountsSection);
        const QModelIndex connections = model.sectionIndex(AccountsSidebarModel::connectionsSection);
        model.setAccounts(
            {{.id = "a", .displayName = "Alpha %1"}, {.id = "b", .displayName = "Beta", .balance = -7}});
        model.setConnections(
            {{.id = "c1"},
             {.id = "c2", .clientInfo = ClientInfo{.name = "n", .title = "T"}, .authenticated = true}});
        QCOMPARE(model.rowCount(accounts), 2);
        QCOMPARE(connections.data().toString(), QString("Live Connections (2)"));
        QCOMPARE(model.index(0, 0, connections).data().toString(), QString::fromUtf8("connecting\u2026"));
        QCOMPARE(model.index(1, 0, connections).data().toString(), DataText::isolated("T"));
        QCOMPARE(model.index(1, 0, connections).data(AccountsSidebarModel::SubtitleRole).toString(),
                 QString("authenticated"));
        QCOMPARE(model.index(0, 0, accounts).data().toString(), DataText::isolated("Alpha %1"));
        // A screen reader hears what the row shows: name, mode, connection state, balance.
        QCOMPARE(model.index(1, 0, accounts).data(Qt::AccessibleTextRole).toString(),
                 QString("Beta, credential, not connected, -7"));
        QCOMPARE(model.index(1, 0, connections).data(Qt::AccessibleTextRole).toString(),
                 QString("T, authenticated"));
        QVERIFY(model.flags(model.index(0, 0, accounts)) & Qt::ItemIsSelectable);
        QVERIFY(!(model.flags(model.index(0, 0, connections)) & Qt::ItemIsSelectable));
        QVERIFY(!(model.flags(accounts) & Qt::ItemIsSelectable));

        QSignalSpy titles(&model, &QAbstractItemModel::dataChanged);
        model.setConnections({{.id = "c2"}, {.id = "c3"}, {.id = "c4"}});
        QCOMPARE(connections.data().toString(), QString("Live Connections (3)"));
        QVERIFY(!titles.isEmpty());
        model.setAccounts({{.id = "b", .displayName = "Beta"}});
        QCOMPARE(model.indexOfAccount("b").row(), 0);
        QVERIFY(!model.indexOfAccount("a").isValid());
    }
};

QTEST_MAIN(StyleTest)
#include "StyleTest.moc"
