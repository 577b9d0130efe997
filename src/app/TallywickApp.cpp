// SPDX-License-Identifier: MIT
#include <tallywick/TallywickApp.h>

namespace tallywick {

TallywickApp::TallywickApp(MainWindow::RootViewFactory rootView, AppModel::Options modelOptions)
    : rootView_(std::move(rootView)), modelOptions_(std::move(modelOptions)) {}

TallywickApp::~TallywickApp() {
    windows_.clear();
    model_.reset();
}

MainWindow& TallywickApp::openWindow() {
    windows_.push_back(std::make_unique<MainWindow>(model(), rootView_));
    windows_.back()->show();
    return *windows_.back();
}

AppModel& TallywickApp::model() {
    if (!model_) model_ = std::make_unique<AppModel>(io_, modelOptions_);
    return *model_;
}

}  // namespace tallywick
