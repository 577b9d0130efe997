// SPDX-License-Identifier: MIT
// The Activity pane under a storm of agent traffic: 5,000 pings spread over
// one second from a raw link, each logged twice, so 10,000 apiCall events
// reach the window's model while the pane is the visible tab. Measured on
// the main thread:
//   stall:    the longest gap between ticks of a 1 ms timer (target: 50 ms);
//   repaints: paints of the list, against the frames the second holds;
//   lag:      from the last event applied to the first paint that shows it
//             (target: within one frame).
#include <unistd.h>

#include <QApplication>
#include <QElapsedTimer>
#include <QLabel>
#include <QTabWidget>
#include <QTimer>
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <thread>

#include <tallywick/app/AppModel.h>
#include <tallywick/app/TallywickApp.h>
#include <tallywick/link/IoThread.h>
#include <tallywick/link/LinkConnection.h>
#include <tallywick/link/ServiceIdentity.h>
#include <tallywick/ui/ActivityView.h>
#include <tallywick/ui/ApiLogItemModel.h>
#include <tallywick/ui/ApiLogListView.h>
#include <tallywick/ui/RootView.h>

#include "support/HostProcess.h"

using namespace tallywick;

namespace {

constexpr int kPings = 5000;
constexpr int kBatches = 100;  // one every 10 ms

template <class Done>
bool waitFor(Done done, int limitMs = 30'000) {
    QElapsedTimer timer;
    timer.start();
    while (!done()) {
        if (timer.elapsed() > limitMs) return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
    }
    return true;
}

std::string pingLine(int id) {
    return R"({"jsonrpc":"2.0","id":)" + std::to_string(id) + R"(,"method":"ping"})";
}

// Watches the list's paints and the model's log: how many paints, and when
// the first one that shows the latest log came.
class PaintWatch : public QObject {
public:
    PaintWatch(ActivityView& pane, AppModel& model) : pane_(pane), model_(model) {
        clock_.start();
        pane.list().viewport()->installEventFilter(this);
        connect(&model, &AppModel::apiLogChanged, this, [this] {
            ++events;
            lastEventNs = clock_.nsecsElapsed();
            shownLatest_ = false;
        });
    }
    int paints = 0;
    std::size_t events = 0;
    qint64 lastEventNs = 0, latestPaintNs = -1;

protected:
    bool eventFilter(QObject*, QEvent* event) override {
        if (event->type() != QEvent::Paint) return false;
        ++paints;
        const auto& log = model_.apiLog();
        const ApiLogItemModel& items = pane_.items();
        const bool latest =
            !log.empty() && items.rowCount() == static_cast<int>(log.size()) &&
            items.index(0).data(ApiLogItemModel::IdRole).toString().toStdString() == log.front().id;
        if (latest && !shownLatest_) {
            shownLatest_ = true;
            latestPaintNs = clock_.nsecsElapsed();
        }
        return false;
    }

private:
    ActivityView& pane_;
    AppModel& model_;
    QElapsedTimer clock_;
    bool shownLatest_ = false;
};

}  // namespace

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    const std::filesystem::path folder =
        std::filesystem::temp_directory_path() / ("tallywick-activity-bench-" + std::to_string(::getpid()));
    std::filesystem::remove_all(folder);
    testing::HostProcess host(folder, TALLYWICK_HOST_PATH);
    if (!host.start()) return 1;

    auto app = std::make_unique<TallywickApp>(
        makeRootView, AppModel::Options{.endpoint = {host.socketPath(), tallywickHostRequirement()},
                                        .registerLoginItem = [] {}});
    MainWindow& window = app->openWindow();
    window.resize(MainWindow::defaultSize);
    AppModel& model = app->model();
    auto* tabs = window.findChild<QTabWidget*>(QStringLiteral("rootView"));
    auto* pane = window.findChild<ActivityView*>(QStringLiteral("activityView"));
    if (!tabs || !pane || !waitFor([&] { return model.isConnected(); })) return 1;
    tabs->setCurrentWidget(pane);

    IoThread agentIo;
    auto agent = LinkConnection::connect(agentIo.context(), host.socketPath(), tallywickHostRequirement());
    std::atomic<int> answered = 0;
    const auto count = [&](std::string) { ++answered; };
    const auto failed = [&](const LinkFailure&) { ++answered; };
    agent->start({.onCall = [](std::uint64_t, const std::string&, std::string) { return false; },
                  .onMessage = [](const std::string&, std::string) {},
                  .onInterrupted = [](const std::string&) {},
                  .onInvalidated = [](const std::string&) {}});
    // The new connection makes the model refresh; that settles before the storm.
    agent->call("handleAgentMessage", pingLine(0), count, failed);
    if (!waitFor([&] { return model.connections().size() == 1 && answered == 1; })) return 1;
    waitFor([] { return false; }, 200);

    PaintWatch watch(*pane, model);
    qint64 longestGapNs = 0, previousTickNs = -1;
    QElapsedTimer ticks;
    ticks.start();
    QTimer probe;
    probe.setTimerType(Qt::PreciseTimer);
    QObject::connect(&probe, &QTimer::timeout, [&] {
        const qint64 now = ticks.nsecsElapsed();
        if (previousTickNs >= 0) longestGapNs = std::max(longestGapNs, now - previousTickNs);
        previousTickNs = now;
    });
    probe.start(1);

    // The storm is sent from a thread of its own: the main thread is what is measured.
    answered = 0;
    const auto stormStart = std::chrono::steady_clock::now();
    std::thread sender([&] {
        for (int batch = 0; batch < kBatches; ++batch) {
            for (int i = 0; i < kPings / kBatches; ++i)
                agent->call("handleAgentMessage", pingLine(1 + batch * (kPings / kBatches) + i), count,
                            failed);
            std::this_thread::sleep_until(stormStart + std::chrono::milliseconds(10 * (batch + 1)));
        }
    });
    const bool all =
        waitFor([&] { return watch.events >= 2 * kPings && watch.latestPaintNs >= watch.lastEventNs; });
    const double stormMs =
        std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - stormStart).count();
    sender.join();
    probe.stop();
    // Let anything still on its way land, then see whether the pane shows it.
    waitFor([] { return false; }, 300);
    agent->close();

    const int frame = pane->frameInterval();
    const double lagMs = (watch.latestPaintNs - watch.lastEventNs) / 1e6;
    const double stallMs = longestGapNs / 1e6;
    std::printf("apiCall storm: %zu of %d events in %.0f ms (sent over %d ms), list holds %d, title \"%s\"\n",
                watch.events, 2 * kPings, stormMs, 10 * kBatches, pane->items().rowCount(),
                qPrintable(pane->title().text()));
    std::printf("longest main-thread stall %.1f ms (target <= 50: %s)\n", stallMs,
                stallMs <= 50 ? "met" : "NOT MET");
    std::printf("list repaints %d for %.0f frames of %d ms (%.0f repaints/s)\n", watch.paints,
                stormMs / frame, frame, watch.paints / (stormMs / 1000));
    std::printf("last event to the paint that shows it %.1f ms (target <= one frame, %d ms: %s)\n", lagMs,
                frame, lagMs <= frame ? "met" : "NOT MET");

    app.reset();
    host.stop();
    std::filesystem::remove_all(folder);
    return all && answered == kPings ? 0 : 1;
}
