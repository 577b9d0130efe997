// SPDX-License-Identifier: MIT
// The parts of the views that are plain rules: number formats, entry types,
// the amount rule, row updates by identity under Qt's model checker, and
// the legibility of every colour and focus mark in light and dark.
#include <QAbstractItemModelTester>
#include <QApplication>
#include <QCheckBox>
#include <QLabel>
#include <QListView>
#include <QMainWindow>
#include <QSignalSpy>
#include <QStringListModel>
#include <QTabBar>
#include <QTemporaryDir>
#include <QTest>
#include <QVBoxLayout>
#include <algorithm>
#include <cmath>
#include <limits>
#include <list>

#include <tallywick/app/DataText.h>
#include <tallywick/app/TallywickApp.h>
#include <tallywick/ui/AccountsSidebarModel.h>
#include <tallywick/ui/AmountText.h>
#include <tallywick/ui/AppStyle.h>
#include <tallywick/ui/ControlStyle.h>
#include <tallywick/ui/EntryType.h>
#include <tallywick/ui/EntryTypePicker.h>
#include <tallywick/ui/LedgerItemModel.h>
#include <tallywick/ui/ProminentButton.h>
#include <tallywick/ui/RootView.h>
#include <tallywick/ui/TextField.h>

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

// WCAG 2: relative luminance of the sRGB colour, and the ratio of two.
double luminance(const QColor& colour) {
    const auto linear = [](double c) {
        return c <= 0.04045 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF()) +
           0.0722 * linear(colour.blueF());
}

double wcag(const QColor& a, const QColor& b) {
    const auto [dark, light] = std::minmax({luminance(a), luminance(b)});
    return (light + 0.05) / (dark + 0.05);
}

QColor over(const QColor& top, const QColor& under) {
    const auto channel = [&](double t, double u) { return t * top.alphaF() + u * (1 - top.alphaF()); };
    return QColor::fromRgbF(static_cast<float>(channel(top.redF(), under.redF())),
                            static_cast<float>(channel(top.greenF(), under.greenF())),
                            static_cast<float>(channel(top.blueF(), under.blueF())));
}

using Paint = std::function<QColor(const QPalette&)>;

Paint role(QPalette::ColorRole colourRole) {
    return [colourRole](const QPalette& p) { return p.color(colourRole); };
}

// The light palette the application starts with, and its own dark one.
std::vector<std::pair<const char*, QPalette>> schemes() {
    return {{"light", QApplication::style()->standardPalette()}, {"dark", AppStyle::darkPalette()}};
}

}  // namespace

class StyleTest : public QObject {
    Q_OBJECT

private slots:
    // The style the window runs with.
    void initTestCase() { ControlStyle::install(); }

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
        large.reserve(3000);
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

    // Every ink on every surface it is drawn on, by the WCAG 2 formula: text
    // 4.5:1, control edges and focus marks 3:1; dimmer levels stay dimmer.
    void everyInkReadsOnItsSurfaces() {
        using AppStyle::Foreground;
        const auto level = [](Foreground l) {
            return Paint([l](const QPalette& p) { return AppStyle::foreground(p, l); });
        };
        const auto selected = [](bool focused, QPalette::ColorRole under) {
            return Paint(
                [=](const QPalette& p) { return over(AppStyle::selectionFill(p, focused), p.color(under)); });
        };
        const auto badge = [](EntryType type, QPalette::ColorRole under) {
            return Paint([=](const QPalette& p) {
                return over(AppStyle::badgeFill(entryTypeColor(type, p)), p.color(under));
            });
        };
        const std::vector<Paint> controls{role(QPalette::Window), role(QPalette::Base),
                                          role(QPalette::Button)};
        std::vector<Paint> texts = controls;
        for (const auto under : {QPalette::Window, QPalette::Base}) {
            texts.insert(texts.end(), {selected(true, under), selected(false, under)});
        }
        struct Row {
            QString ink;
            Paint paint;
            std::vector<Paint> surfaces;
            double least;
        };
        std::vector<Row> rows{
            {"primary", level(Foreground::primary), texts, 4.5},
            {"secondary", level(Foreground::secondary), texts, 4.5},
            {"tertiary", level(Foreground::tertiary), texts, 4.5},
            {"placeholder", role(QPalette::PlaceholderText), {role(QPalette::Base)}, 4.5},
            {"selected text", role(QPalette::HighlightedText), {role(QPalette::Highlight)}, 4.5},
            {"control edge", AppStyle::controlBorder, controls, 3},
            {"focus mark", AppStyle::focusColor, controls, 3},
        };
        for (const EntryType type : allEntryTypes) {
            std::vector<Paint> under = texts;
            under.insert(under.end(), {badge(type, QPalette::Window), badge(type, QPalette::Base)});
            rows.push_back({entryTypeLabel(type).data(),
                            [type](const QPalette& p) { return entryTypeColor(type, p); }, under, 4.5});
        }
        for (const auto& [scheme, palette] : schemes()) {
            for (const Row& row : rows) {
                for (std::size_t i = 0; i < row.surfaces.size(); ++i) {
                    const double ratio = wcag(row.paint(palette), row.surfaces[i](palette));
                    QVERIFY2(ratio >= row.least, qPrintable(QString("%1 %2 on surface %3: %4:1")
                                                                .arg(scheme, row.ink)
                                                                .arg(i)
                                                                .arg(ratio, 0, 'f', 2)));
                }
            }
            // A hierarchy: each level at least a tenth less contrast than the one above.
            const QColor window = palette.color(QPalette::Window);
            double above = 21;
            for (const auto l : {Foreground::primary, Foreground::secondary, Foreground::tertiary}) {
                const double ratio = wcag(AppStyle::foreground(palette, l), window);
                QVERIFY2(ratio < above / 1.1 || l == Foreground::primary, scheme);
                above = ratio;
            }
        }
    }

    // The toolbar's words in the secondary level and the version in the
    // tertiary one, both in the caption style, on a light and a dark desktop.
    void toolbarStatusIsDimmed() {
        QTemporaryDir folder;
        TallywickApp app(makeRootView, {.endpoint = {folder.filePath("no-host").toStdString(), ""},
                                        .registerLoginItem = [] {}});
        QMainWindow& window = app.openWindow();
        for (const auto& [scheme, palette] : schemes()) {
            QApplication::setPalette(palette);
            QApplication::processEvents();
            for (const auto& [name, level] : {std::pair{"connectionText", AppStyle::Foreground::secondary},
                                              std::pair{"hostVersionText", AppStyle::Foreground::tertiary}}) {
                const auto* label = window.findChild<QLabel*>(name);
                QVERIFY(label);
                QCOMPARE(label->palette().color(label->foregroundRole()),
                         AppStyle::foreground(QApplication::palette(), level));
                QCOMPARE(label->font(), AppStyle::font(AppStyle::TextStyle::caption));
            }
        }
        QApplication::setPalette(QPalette());
    }

    // Each kind of Tab stop, given the keyboard focus, draws a mark that
    // stands out 3:1 from how it looks without it, at least 2 px deep.
    void focusIsPlainOnEveryTabStop() {
        for (const auto& [scheme, palette] : schemes()) {
            QApplication::setPalette(palette);
            QWidget window;
            auto* layout = new QVBoxLayout(&window);
            auto* tabs = new QTabBar;
            tabs->setDocumentMode(true);
            for (const char* tab : {"Records", "Activity", "Settings"}) tabs->addTab(tab);
            auto* list = new QListView;
            list->setModel(new QStringListModel({"Alpha", "Beta"}, list));
            list->selectionModel()->setCurrentIndex(list->model()->index(0, 0),
                                                    QItemSelectionModel::NoUpdate);
            const std::vector<QWidget*> stops{new TextField,
                                              new EntryTypePicker,
                                              new QPushButton("Cancel"),
                                              new ProminentButton("Add"),
                                              new QCheckBox("Allow"),
                                              tabs,
                                              list};
            auto* elsewhere = new QLabel("elsewhere");
            elsewhere->setFocusPolicy(Qt::StrongFocus);
            for (QWidget* stop : stops) layout->addWidget(stop);
            layout->addWidget(elsewhere);
            window.show();
            window.activateWindow();
            QVERIFY(QTest::qWaitForWindowActive(&window));
            // As after Tab: the marks that show only for the keyboard show.
            window.setAttribute(Qt::WA_KeyboardFocusChange);
            for (QWidget* stop : stops) {
                elsewhere->setFocus(Qt::TabFocusReason);
                const QImage before = stop->grab().toImage();
                stop->setFocus(Qt::TabFocusReason);
                QVERIFY(stop->hasFocus());
                const QImage after = stop->grab().toImage();
                // Pixels that change 3:1: at least a 2 px line down both sides of a line of text.
                int marked = 0;
                for (int y = 0; y < after.height(); ++y) {
                    for (int x = 0; x < after.width(); ++x)
                        marked += wcag(before.pixelColor(x, y), after.pixelColor(x, y)) >= 3;
                }
                QVERIFY2(marked >= 4 * stop->fontMetrics().height(),
                         qPrintable(
                             QString("%1 %2: %3").arg(scheme, stop->metaObject()->className()).arg(marked)));
            }
        }
        QApplication::setPalette(QPalette());
    }
};

QTEST_MAIN(StyleTest)
#include "StyleTest.moc"
