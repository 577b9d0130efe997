// SPDX-License-Identifier: MIT
// The Activity pane against a real host: agents' messages arrive as rows
// at the top, one insert and one removal per message, each row shows which
// way its message went, what it was and when, and its payload's text can be
// selected and copied.
#include <time.h>

#include <QClipboard>
#include <QElapsedTimer>
#include <QLabel>
#include <QSignalSpy>
#include <QStyle>
#include <atomic>

#include <tallywick/app/DataText.h>

#include <tallywick/ui/ActivityView.h>
#include <tallywick/ui/ApiLogHeaderLine.h>
#include <tallywick/ui/ApiLogItemModel.h>
#include <tallywick/ui/ApiLogListView.h>
#include <tallywick/ui/ApiLogRowView.h>
#include <tallywick/ui/DirectionBadge.h>

#include "PaneShots.h"
#include "RecordsWindow.h"

using namespace tallywick;
using namespace tallywick::testing;

namespace {

std::string pingLine(int id) {
    return R"({"jsonrpc":"2.0","id":)" + std::to_string(id) + R"(,"method":"ping"})";
}

std::string toolLine(int id, const std::string& tool, const std::string& arguments) {
    return R"({"jsonrpc":"2.0","id":)" + std::to_string(id) + R"(,"method":"tools/call","params":{"name":")" +
           tool + R"(","arguments":)" + arguments + "}}";
}

// A ping written over ten lines, as a pretty-printing client sends it.
const std::string kTenLinePing =
    "{\n  \"jsonrpc\": \"2.0\",\n  \"id\": 42,\n  \"method\": \"ping\",\n  \"params\": {\n"
    "    \"a\": 1,\n    \"b\": 2,\n    \"c\": 3\n  }\n}";

// Whether the area of the widget shows the highlight of selected text.
bool showsHighlight(QWidget& widget, const QRect& area) {
    const QImage image = widget.grab(area).toImage();
    const QPalette palette = widget.palette();
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            for (const auto group : {QPalette::Active, QPalette::Inactive})
                if (image.pixel(x, y) == palette.color(group, QPalette::Highlight).rgb()) return true;
        }
    }
    return false;
}

// Counts the paints a widget gets.
class PaintCounter : public QObject {
public:
    explicit PaintCounter(QWidget* watched) { watched->installEventFilter(this); }
    int paints = 0;

protected:
    bool eventFilter(QObject*, QEvent* event) override {
        if (event->type() == QEvent::Paint) ++paints;
        return false;
    }
};

class ActivityWindow : public RecordsWindow {
public:
    bool openOnActivity() {
        if (!open()) return false;
        find<QTabWidget>("rootView")->setCurrentIndex(1);
        tester_ = std::make_unique<QAbstractItemModelTester>(
            &items(), QAbstractItemModelTester::FailureReportingMode::QtTest);
        return QTest::qWaitForWindowExposed(&pane());
    }
    ActivityView& pane() { return *find<ActivityView>("activityView"); }
    ApiLogItemModel& items() { return pane().items(); }
    QString title() { return pane().title().text(); }
    // The rows agree with the model's log, record for record.
    bool current() {
        const auto& log = model().apiLog();
        if (items().rowCount() != static_cast<int>(log.size())) return false;
        for (int row = 0; row < items().rowCount(); ++row) {
            if (items().index(row).data(ApiLogItemModel::IdRole).toString().toStdString() != log[row].id)
                return false;
        }
        return true;
    }
    bool waitForRows(int count) {
        return QTest::qWaitFor([&] { return items().rowCount() == count && current(); }, kPatience);
    }
    bool waitForConnections(std::size_t count) {
        return QTest::qWaitFor([&] { return model().connections().size() == count; }, kPatience);
    }
    int rowWhere(int role, const QVariant& value) {
        for (int row = 0; row < items().rowCount(); ++row) {
            if (items().index(row).data(role) == value) return row;
        }
        return -1;
    }

private:
    std::unique_ptr<QAbstractItemModelTester> tester_;
};

}  // namespace

class ActivityTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates)); }

    void timeIsTheLocalesStandardTimeOfDay() {
        const QByteArray zone = qgetenv("TZ");
        qputenv("TZ", "UTC");
        ::tzset();
        const Date afternoon = *parseDate("2025-03-04T15:04:05Z");
        // Some locale data parts time and day period with a narrow space.
        QCOMPARE(ApiLogHeaderLine::timeText(afternoon).replace(QChar(0x202F), ' ').replace(QChar(0xA0), ' '),
                 QString("3:04:05 PM"));
        QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
        QCOMPARE(ApiLogHeaderLine::timeText(afternoon), QString("15:04:05"));
        qputenv("TZ", "Europe/Berlin");
        ::tzset();
        QCOMPARE(ApiLogHeaderLine::timeText(afternoon), QString("16:04:05"));
        QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
        zone.isNull() ? qunsetenv("TZ") : qputenv("TZ", zone);
        ::tzset();
    }

    void messagesArriveAtTheTopAndTheCountFollows() {
        ActivityWindow w;
        QVERIFY(w.openOnActivity());
        // The pane is its title over the list: nothing else to read, click or focus.
        ActivityView& pane = w.pane();
        QCOMPARE(pane.findChildren<QLabel*>(), QList<QLabel*>{&pane.title()});
        for (QWidget* child : pane.findChildren<QWidget*>()) {
            if (child != &pane.list() && !pane.list().isAncestorOf(child))
                QVERIFY2(child->focusPolicy() == Qt::NoFocus, child->metaObject()->className());
        }
        QCOMPARE(w.title(), QString("Live API Activity (0)"));
        QCOMPARE(w.items().rowCount(), 0);

        QSignalSpy inserted(&w.items(), &QAbstractItemModel::rowsInserted);
        QSignalSpy removed(&w.items(), &QAbstractItemModel::rowsRemoved);
        QSignalSpy reset(&w.items(), &QAbstractItemModel::modelReset);
        AgentLink agent(w.host().socketPath());
        QVERIFY(agent.send(initializeLine("alpha")));
        QVERIFY(w.waitForRows(2));
        QCOMPARE(w.title(), QString("Live API Activity (2)"));
        QVERIFY(agent.send(pingLine(2)));
        QVERIFY(w.waitForRows(4));
        QCOMPARE(w.title(), QString("Live API Activity (4)"));

        // Newest first: the ping's answer, the ping, the handshake's answer, the handshake.
        const auto at = [&](int row, int role) { return w.items().index(row).data(role); };
        QCOMPARE(at(0, ApiLogItemModel::DirectionRole).toInt(), int(Direction::response));
        QCOMPARE(at(1, ApiLogItemModel::MethodRole).toString(), QString("ping"));
        QCOMPARE(at(3, ApiLogItemModel::MethodRole).toString(), QString("initialize"));
        QCOMPARE(at(0, ApiLogItemModel::ClientLabelRole).toString(), QString("alpha"));
        // The handshake was logged before the connection knew its client.
        QVERIFY(at(3, ApiLogItemModel::ClientLabelRole).toString().isNull());
        // A screen reader hears the row's first line and badge before its payload.
        const QString time = ApiLogHeaderLine::timeText(w.model().apiLog()[1].timestamp);
        QCOMPARE(at(1, Qt::AccessibleTextRole).toString(),
                 "ping, alpha, Request, " + time + ", " + at(1, Qt::DisplayRole).toString());
        QVERIFY(at(3, Qt::AccessibleTextRole).toString().startsWith("initialize, Request, "));

        // One row in at the top per message, none out, never a reset.
        QCOMPARE(inserted.size(), 4);
        for (const auto& call : inserted)
            QCOMPARE(std::pair(call[1].toInt(), call[2].toInt()), std::pair(0, 0));
        QCOMPARE(removed.size(), 0);
        QCOMPARE(reset.size(), 0);

        // A refresh that brings the same log changes no row.
        inserted.clear();
        w.model().refresh();
        QTRY_VERIFY_WITH_TIMEOUT(!w.model().awaitingSnapshot(), kPatience);
        QVERIFY(w.current());
        QCOMPARE(inserted.size(), 0);
    }

    void rowsShowDirectionMethodAndThreeLinesOfPayload() {
        ActivityWindow w;
        QVERIFY(w.openOnActivity());
        AgentLink agent(w.host().socketPath());
        QVERIFY(agent.send(initializeLine("beta", R"(,"title":"Beta\nBot")")));
        QVERIFY(agent.send(R"({"jsonrpc":"2.0","method":"notifications/initialized"})"));
        QVERIFY(agent.send(kTenLinePing));
        QVERIFY(w.waitForRows(5));

        ApiLogListView& list = w.pane().list();
        const int request = w.rowWhere(ApiLogItemModel::MethodRole, QString("initialize"));
        const int notification =
            w.rowWhere(ApiLogItemModel::MethodRole, QString("notifications/initialized"));
        const int response = w.rowWhere(ApiLogItemModel::DirectionRole, int(Direction::response));
        const int tenLines = w.rowWhere(ApiLogItemModel::PayloadRole, QString::fromStdString(kTenLinePing));
        QVERIFY(request >= 0 && notification >= 0 && response >= 0 && tenLines >= 0);

        // Each direction's badge, in its colour at the row's leading edge.
        const QPalette palette = list.viewport()->palette();
        for (const auto& [row, direction] :
             {std::pair{request, Direction::request}, std::pair{response, Direction::response},
              std::pair{notification, Direction::notification}}) {
            const QRect rect = list.visualRect(w.items().index(row));
            const QRect badge = DirectionBadge::symbolRect(ApiLogRowView::geometry(rect, 1).badge);
            const QColor ink = strongestInk(*list.viewport(), badge, palette.color(QPalette::Base));
            QVERIFY2(hueDistance(ink, DirectionBadge::color(direction, palette)) < 20,
                     qPrintable(QString("row %1 drew %2").arg(row).arg(ink.name())));
        }

        // An answer has no method: its header shows the em dash, in bold ink at the method's place.
        const ApiLogEntry& answer = w.model().apiLog()[static_cast<std::size_t>(response)];
        QVERIFY(!answer.method);
        QCOMPARE(ApiLogHeaderLine::methodText(answer), QString::fromUtf8("\u2014"));
        // A title over two lines still makes a header of one.
        QCOMPARE(ApiLogHeaderLine::clientText(answer), QString("Beta\nBot"));
        QCOMPARE(ApiLogHeaderLine::clientShown(answer), DataText::isolated(QString("Beta Bot")));

        // Ten lines of payload: three show, the third cut with an ellipsis; a one-liner is one line.
        const QModelIndex row = w.items().index(tenLines);
        const QRect rect = list.visualRect(row);
        const QString ping = QString::fromStdString(kTenLinePing);
        const ApiLogRowView::Payload shown = ApiLogRowView::payload(ping, false, rect.width());
        QCOMPARE(shown.text(), QString::fromUtf8("{\n  \"jsonrpc\": \"2.0\",\n  \"id\": 42,\u2026"));
        QCOMPARE(rect.height(), ApiLogRowView::rowHeight(3));
        QCOMPARE(list.visualRect(w.items().index(request)).height(), ApiLogRowView::rowHeight(1));
        // A long single line wraps onto three and is cut in the third.
        const QStringList wrapped = ApiLogRowView::payload(QString(4000, 'x'), false, rect.width()).lines;
        QCOMPARE(wrapped.size(), 3);
        QVERIFY(wrapped[2].endsWith(QChar(0x2026)));
        QCOMPARE(wrapped[0].size(), wrapped[1].size());

        // Dragged over, double or triple clicked, the payload's text is
        // selected, drawn so, and copied as the agent sent it; through the
        // ellipsis, to the payload's end.
        struct Pick {
            qsizetype from, to;
            int clicks;
            QString copied;
        };
        const QString afterId = ping.mid(ping.indexOf("\": 42"));
        for (const auto& [from, to, clicks, copied] :
             {Pick{5, 12, 1, "jsonrpc"}, Pick{12, 27, 1, "\": \"2.0\",\n  \"id"}, Pick{27, 34, 1, afterId},
              Pick{34, 0, 1, ping}, Pick{8, 8, 2, "jsonrpc"}, Pick{8, 8, 3, ping}}) {
            const QPoint start = ApiLogRowView::pointAt(shown, rect, from);
            const QPoint end = ApiLogRowView::pointAt(shown, rect, to);
            QApplication::clipboard()->clear();
            list.rows().setSelection({});
            if (clicks > 1) QTest::mouseDClick(list.viewport(), Qt::LeftButton, {}, start);
            if (clicks != 2) QTest::mousePress(list.viewport(), Qt::LeftButton, {}, start);
            QTest::mouseMove(list.viewport(), end);
            QTest::mouseRelease(list.viewport(), Qt::LeftButton, {}, end);
            QTest::keySequence(&list, QKeySequence::Copy);
            QCOMPARE(QApplication::clipboard()->text(), copied);
            QVERIFY(showsHighlight(*list.viewport(), rect));
        }
        // A click beside the payload lets go of the selection.
        QTest::mouseClick(list.viewport(), Qt::LeftButton, {},
                          ApiLogRowView::geometry(rect, 3).header.center());
        QVERIFY(list.selectedText().isEmpty());
    }

    void burstRepaintsAtTheFrameRateAndEndsCurrent() {
        ActivityWindow w;
        QVERIFY(w.openOnActivity());
        PaintCounter counter(w.pane().list().viewport());
        QSignalSpy reset(&w.items(), &QAbstractItemModel::modelReset);
        IoThread agentIo;
        auto agent =
            LinkConnection::connect(agentIo.context(), w.host().socketPath(), tallywickHostRequirement());
        agent->start({.onCall = [](std::uint64_t, const std::string&, const std::string&) { return false; },
                      .onMessage = [](const std::string&, const std::string&) {},
                      .onInterrupted = [](const std::string&) {},
                      .onInvalidated = [](const std::string&) {}});
        std::atomic<int> answered = 0;
        agent->call(
            "handleAgentMessage", pingLine(0), [&](const std::string&) { ++answered; },
            [&](const LinkFailure&) { ++answered; });
        QVERIFY(w.waitForConnections(1));
        QVERIFY(w.waitForRows(2));
        QSignalSpy inserted(&w.items(), &QAbstractItemModel::rowsInserted);
        QSignalSpy removed(&w.items(), &QAbstractItemModel::rowsRemoved);
        QElapsedTimer clock;
        // 10,000 messages a second: 50 pings, each logged twice, every 10 ms.
        constexpr int pings = 1000, perBatch = 50;
        answered = 0;
        clock.start();
        for (int i = 0; i < pings; ++i) {
            agent->call(
                "handleAgentMessage", pingLine(i), [&](const std::string&) { ++answered; },
                [&](const LinkFailure&) { ++answered; });
            if (i % perBatch == perBatch - 1) QTest::qWait(10);
        }
        // The agent's answers may overtake the host's events to the application.
        QVERIFY(QTest::qWaitFor([&] { return inserted.size() >= qsizetype{2} * pings && w.current(); },
                                kPatience));
        const qint64 elapsed = clock.elapsed();
        agent->close();

        // Every message was one insert at the top and, once the list was
        // full, one removal at the bottom; paints came at most once a frame.
        QCOMPARE(reset.size(), 0);
        QCOMPARE(inserted.size(), 2 * pings);
        for (const auto& call : inserted)
            QCOMPARE(std::pair(call[1].toInt(), call[2].toInt()), std::pair(0, 0));
        QCOMPARE(removed.size(), 2 + 2 * pings - 500);
        for (const auto& call : removed)
            QCOMPARE(std::pair(call[1].toInt(), call[2].toInt()), std::pair(500, 500));
        const int frames = static_cast<int>(elapsed / w.pane().frameInterval()) + 1;
        QVERIFY2(counter.paints <= frames + 2,
                 qPrintable(QString("%1 paints in %2 frames").arg(counter.paints).arg(frames)));
        QCOMPARE(answered.load(), pings);
        QVERIFY(w.current());
        QCOMPARE(w.title(), QString("Live API Activity (500)"));
    }

    void screenshotsInLightAndDark() {
        ActivityWindow w;
        QVERIFY(w.openOnActivity());
        AgentLink claude(w.host().socketPath()), cursor(w.host().socketPath()),
            anonymous(w.host().socketPath());
        QVERIFY(claude.send(initializeLine("claude-code", R"(,"title":"Claude Code")")));
        QVERIFY(claude.send(R"({"jsonrpc":"2.0","method":"notifications/initialized"})"));
        QVERIFY(cursor.send(initializeLine("cursor", R"(,"title":"Cursor")")));
        QVERIFY(claude.send(toolLine(2, "getBalance", "{}")));
        QVERIFY(cursor.send(toolLine(3, "getHistory", R"({"limit":5})")));
        QVERIFY(anonymous.send(pingLine(7)));
        QVERIFY(claude.send(kTenLinePing));
        QVERIFY(claude.send(R"({"jsonrpc":"2.0","id":"sampling-1","result":{}})"));
        QVERIFY(w.waitForRows(14));
        w.window().resize(MainWindow::defaultSize);
        const QPalette light = QApplication::style()->standardPalette();
        const auto shoot = [&](const QString& name) {
            for (const auto& [scheme, palette] :
                 {std::pair{QString("light"), light}, std::pair{QString("dark"), AppStyle::darkPalette()}}) {
                QApplication::setPalette(palette);
                if (!saveShot(w.window(), name + "-" + scheme)) return false;
            }
            QApplication::setPalette(light);
            return true;
        };
        QVERIFY(shoot("activity"));
        // Part of a payload selected.
        ApiLogListView& list = w.pane().list();
        const QModelIndex row =
            w.items().index(w.rowWhere(ApiLogItemModel::PayloadRole, QString::fromStdString(kTenLinePing)));
        const QRect rect = list.visualRect(row);
        const auto shown =
            ApiLogRowView::payload(row.data(ApiLogItemModel::PayloadRole).toString(), false, rect.width());
        QTest::mousePress(list.viewport(), Qt::LeftButton, {}, ApiLogRowView::pointAt(shown, rect, 5));
        QTest::mouseMove(list.viewport(), ApiLogRowView::pointAt(shown, rect, 27));
        QTest::mouseRelease(list.viewport(), Qt::LeftButton, {}, ApiLogRowView::pointAt(shown, rect, 27));
        QVERIFY(shoot("activity-selection"));
    }
};

QTEST_MAIN(ActivityTest)
#include "ActivityTest.moc"
