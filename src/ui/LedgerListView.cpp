// SPDX-License-Identifier: MIT
#include <tallywick/ui/LedgerListView.h>

#include <QApplication>
#include <QClipboard>
#include <QFile>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QMenu>
#include <QMessageBox>
#include <QMouseEvent>
#include <QProgressDialog>
#include <QScrollBar>
#include <QShortcut>
#include <QToolButton>
#include <QVBoxLayout>

#include <tallywick/app/AppModel.h>
#include <tallywick/app/DataText.h>
#include <tallywick/model/LedgerCsv.h>
#include <tallywick/ui/AppStyle.h>
#include <tallywick/ui/BalanceChart.h>
#include <tallywick/ui/CardFrame.h>
#include <tallywick/ui/EditEntrySheet.h>
#include <tallywick/ui/LedgerItemModel.h>
#include <tallywick/ui/LedgerRowDelegate.h>
#include <tallywick/ui/LedgerTableView.h>
#include <tallywick/ui/StyledLabel.h>
#include <tallywick/ui/SymbolIcons.h>
#include <tallywick/ui/TextField.h>

namespace tallywick {
LedgerListView::LedgerListView(AppModel& model, QWidget* parent)
    : QWidget(parent),
      model_(model),
      header_(
          new StyledLabel(AppStyle::sectionTitleFont(), AppStyle::tint(AppStyle::Foreground::primary), this)),
      list_(new LedgerTableView),
      items_(new LedgerItemModel(this)),
      rows_(new LedgerRowDelegate(this)),
      search_(new TextField(this)),
      shownCount_(new StyledLabel(AppStyle::TextStyle::caption, AppStyle::Foreground::secondary, this)),
      chart_(new BalanceChart),
      chartToggle_(new QToolButton(this)) {
    setObjectName(QStringLiteral("ledgerListView"));
    header_->setObjectName(QStringLiteral("transactionsHeader"));
    list_->setObjectName(QStringLiteral("ledgerList"));
    list_->setModel(items_);
    list_->setItemDelegate(rows_);
    // One column of rows all of one height: a table lays that out without
    // visiting every row, which keeps a very long ledger cheap to refresh.
    list_->horizontalHeader()->hide();
    list_->horizontalHeader()->setStretchLastSection(true);
    list_->verticalHeader()->hide();
    list_->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    list_->verticalHeader()->setDefaultSectionSize(
        rows_->sizeHint(QStyleOptionViewItem(), QModelIndex()).height());
    // Room for a few rows at least: in a small window the detail column scrolls instead.
    list_->setMinimumHeight(3 * list_->verticalHeader()->defaultSectionSize());
    list_->setShowGrid(false);
    list_->setWordWrap(false);
    list_->setCornerButtonEnabled(false);
    list_->setTabKeyNavigation(false);
    list_->setSelectionMode(QAbstractItemView::NoSelection);
    list_->setSelectionBehavior(QAbstractItemView::SelectRows);
    list_->setHorizontalScrollMode(QAbstractItemView::ScrollPerPixel);
    list_->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    list_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    list_->setMouseTracking(true);
    list_->setFocusPolicy(Qt::StrongFocus);
    list_->setAccessibleName(tr("Transactions"));
    list_->setFrameShape(QFrame::NoFrame);
    // The rows paint on an opaque base, so that refreshing them never makes
    // the card and the window behind repaint as well.
    list_->viewport()->setBackgroundRole(QPalette::Base);
    list_->viewport()->setAutoFillBackground(true);
    list_->viewport()->installEventFilter(this);

    auto* card = new CardFrame(CardFrame::Fill::base, this);
    card->setObjectName(QStringLiteral("ledgerCard"));
    auto* cardLayout = new QVBoxLayout(card);
    // Inside the card's rounded corners.
    cardLayout->setContentsMargins(2, 6, 2, 6);
    cardLayout->addWidget(list_);

    // Finding entries: the memo search and the files beside the header, the
    // five types as toggles on a line of their own below, so that even the
    // smallest window in a wordy language has room for all of them.
    auto* tools = new QHBoxLayout;
    tools->setSpacing(4);
    tools->addWidget(header_);
    tools->addStretch(1);
    auto* types = new QHBoxLayout;
    types->setSpacing(4);
    for (std::size_t i = 0; i < allEntryTypes.size(); ++i) {
        const EntryType type = allEntryTypes[i];
        auto* toggle = new QToolButton(this);
        const std::string_view label = entryTypeLabel(type);
        toggle->setText(QString::fromUtf8(label.data(), static_cast<qsizetype>(label.size())));
        toggle->setObjectName(QStringLiteral("typeToggle-") + toggle->text().toLower());
        toggle->setCheckable(true);
        toggle->setChecked(true);
        toggle->setAutoRaise(true);
        toggle->setToolTip(tr("Show %1 entries").arg(toggle->text()));
        connect(toggle, &QToolButton::toggled, this, &LedgerListView::applyFilter);
        typeToggles_[i] = toggle;
        types->addWidget(toggle);
    }
    search_->setObjectName(QStringLiteral("ledgerSearch"));
    search_->setPlaceholderText(tr("Search memos"));
    search_->setAccessibleName(tr("Search memos"));
    search_->setClearButtonEnabled(true);
    search_->clearOnEscape();
    search_->setMaximumWidth(240);
    // The placeholder shows whole in any language: room for it, the frame and the clear button.
    search_->setMinimumWidth(search_->fontMetrics().horizontalAdvance(search_->placeholderText()) + 44);
    connect(search_, &QLineEdit::textChanged, this, &LedgerListView::applyFilter);
    auto* find = new QShortcut(QKeySequence::Find, this);
    connect(find, &QShortcut::activated, this, [this] {
        search_->setFocus(Qt::ShortcutFocusReason);
        search_->selectAll();
    });
    shownCount_->setObjectName(QStringLiteral("shownCount"));
    shownCount_->hide();
    tools->addWidget(shownCount_);
    tools->addWidget(search_);
    // The ledger as a file, out and in, in one menu: the header row is narrow in a small window.
    auto* files = new QToolButton(this);
    files->setObjectName(QStringLiteral("ledgerFiles"));
    files->setText(tr("CSV"));
    files->setToolTip(tr("Export the ledger or import entries as CSV"));
    files->setAutoRaise(true);
    files->setPopupMode(QToolButton::InstantPopup);
    auto* filesMenu = new QMenu(files);
    filesMenu->addAction(tr("Export All Entries as CSV…"), this, [this] { askAndExport(false); });
    filesMenu->addAction(tr("Export Shown Entries as CSV…"), this, [this] { askAndExport(true); });
    filesMenu->addSeparator();
    filesMenu->addAction(tr("Import Entries from CSV…"), this, &LedgerListView::askAndImport);
    files->setMenu(filesMenu);
    tools->addWidget(files);
    chartToggle_->setObjectName(QStringLiteral("balanceChartToggle"));
    chartToggle_->setIcon(
        SymbolIcons::icon("chart.xyaxis.line", AppStyle::tint(AppStyle::Foreground::secondary)));
    chartToggle_->setToolTip(tr("Balance chart"));
    chartToggle_->setAccessibleName(tr("Balance chart"));
    chartToggle_->setCheckable(true);
    chartToggle_->setAutoRaise(true);
    tools->addWidget(chartToggle_);

    // The balance over time, of every entry whatever the filter shows: the
    // line must end at the balance in the header. Collapsed until asked for.
    auto* chartCard = new CardFrame(CardFrame::Fill::base, this);
    chartCard->setObjectName(QStringLiteral("balanceChartCard"));
    auto* chartLayout = new QVBoxLayout(chartCard);
    chartLayout->setContentsMargins(12, 10, 12, 8);
    chartLayout->addWidget(chart_);
    chartCard->hide();
    connect(chartToggle_, &QToolButton::toggled, chartCard, &QWidget::setVisible);

    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(6);
    column->addLayout(tools);
    types->addStretch(1);
    column->addLayout(types);
    column->addWidget(chartCard);
    column->addWidget(card, 1);

    // The row's buttons, its keys and its accessibility actions all come to the same two.
    connect(rows_, &LedgerRowDelegate::editRequested, list_, &LedgerTableView::requestEdit);
    connect(rows_, &LedgerRowDelegate::deleteRequested, list_, &LedgerTableView::requestDelete);
    connect(list_, &LedgerTableView::editRequested, this, [this](const QModelIndex& index) {
        if (const LedgerEntry* entry = items_->entryAt(index)) editEntry(*entry);
    });
    connect(list_, &LedgerTableView::deleteRequested, this, [this](const QModelIndex& index) {
        if (const LedgerEntry* entry = items_->entryAt(index)) model_.deleteEntry(entry->id);
    });
    connect(list_, &LedgerTableView::menuRequested, this, &LedgerListView::openRowMenu);
    // Tab goes as the eye does: the search, the file menu, the chart, the toggles below, then the rows.
    QWidget* previous = search_;
    for (QWidget* next : {static_cast<QWidget*>(files), static_cast<QWidget*>(chartToggle_),
                          static_cast<QWidget*>(typeToggles_[0]), static_cast<QWidget*>(typeToggles_[1]),
                          static_cast<QWidget*>(typeToggles_[2]), static_cast<QWidget*>(typeToggles_[3]),
                          static_cast<QWidget*>(typeToggles_[4]), static_cast<QWidget*>(list_)}) {
        setTabOrder(previous, next);
        previous = next;
    }
    // Held until the next call: a list that outlives the view.
    static const std::vector<LedgerEntry> none;
    setEntries(none);
}

void LedgerListView::setEntries(const std::vector<LedgerEntry>& entries, std::function<bool()> stillValid) {
    // New entries arrive at the top; they must not push down the rows being
    // read. Unless the list is at its top, the first row in view stays put.
    QScrollBar* bar = list_->verticalScrollBar();
    const QPersistentModelIndex anchor(bar->value() > 0 ? list_->indexAt(QPoint(1, 1)) : QModelIndex());
    const int anchorTop = anchor.isValid() ? list_->visualRect(anchor).top() : 0;
    chart_->setEntries(entries, stillValid);
    items_->setEntries(entries, std::move(stillValid));
    if (anchor.isValid()) {
        list_->doItemsLayout();
        bar->setValue(bar->value() + list_->visualRect(anchor).top() - anchorTop);
    }
    showCount();
}

void LedgerListView::applyFilter() {
    unsigned types = 0;
    for (std::size_t i = 0; i < typeToggles_.size(); ++i) {
        if (typeToggles_[i] && typeToggles_[i]->isChecked())
            types |= 1u << static_cast<unsigned>(allEntryTypes[i]);
    }
    items_->setFilter({.text = search_->text().trimmed(), .types = types});
    showCount();
}

Result<void, std::string> LedgerListView::exportTo(const QString& path, bool shownOnly) const {
    const std::string text = LedgerCsv::write(shownOnly ? items_->shownEntries() : items_->allEntries());
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) ||
        file.write(text.data(), static_cast<qint64>(text.size())) != static_cast<qint64>(text.size()) ||
        !file.flush())
        return fail(file.errorString().toStdString());
    return {};
}

void LedgerListView::askAndExport(bool shownOnly) {
    const QString path =
        QFileDialog::getSaveFileName(this, tr("Export Ledger"), tr("ledger.csv"), tr("CSV files (*.csv)"));
    if (!path.isEmpty()) exportFile(path, shownOnly);
}

void LedgerListView::exportFile(const QString& path, bool shownOnly) {
    auto written = exportTo(path, shownOnly);
    if (written) return;
    QMessageBox* box =
        DataText::messageBox(QMessageBox::Warning, tr("Export Ledger"),
                             tr("Could not write %1: %2. Choose a folder you can write to.")
                                 .arg(DataText::isolated(path), DataText::isolated(written.error())),
                             this);
    box->setObjectName(QStringLiteral("exportFailed"));
    box->open();
}

Result<std::size_t, QString> LedgerListView::importFrom(const QString& path) {
    const std::optional<std::string> account = model_.selectedAccountID();
    if (!account) return fail(tr("Select the account to import into, then try again."));
    QFile file(path);
    // Far beyond any ledger a person keeps; reading more would only exhaust memory.
    constexpr qint64 largest = qint64{512} << 20;
    if (!file.open(QIODevice::ReadOnly))
        return fail(tr("Could not read %1: %2.")
                        .arg(DataText::isolated(path), DataText::isolated(file.errorString())));
    if (file.size() > largest)
        return fail(tr("%1 is larger than 512 MB, more than a ledger holds. Choose the exported CSV file.")
                        .arg(DataText::isolated(path)));
    const QByteArray text = file.readAll();
    auto rows =
        LedgerCsv::read(std::string_view(text.constData(), static_cast<std::size_t>(text.size())), *account);
    if (!rows)
        return fail(tr("%1: %2. Nothing was imported; correct the file and try again.")
                        .arg(DataText::isolated(path), DataText::isolated(rows.error())));
    const std::size_t count = rows->size();
    if (count == 0) return count;

    // Small files are done before the dialog would show; long ones can be stopped.
    auto* progress =
        new QProgressDialog(tr("Importing entries…"), tr("Stop"), 0, static_cast<int>(count), this);
    progress->setObjectName(QStringLiteral("importProgress"));
    progress->setWindowModality(Qt::WindowModal);
    progress->setMinimumDuration(400);
    progress->setAutoClose(false);
    progress->setAutoReset(false);
    QPointer<QProgressDialog> shown(progress);
    model_.importEntries(std::move(rows).value(), [this, shown](const AppModel::ImportProgress& at) {
        if (!shown) return false;
        if (!at.finished) {
            shown->setValue(static_cast<int>(at.created));
            if (!shown->wasCanceled()) return true;
            // Stopped: nothing more will be reported to the dialog.
            shown->deleteLater();
            return false;
        }
        shown->deleteLater();
        if (at.failure) {
            // The host's reason may quote the file.
            QMessageBox* stopped = DataText::messageBox(
                QMessageBox::Warning, tr("Import Entries"),
                tr("Entry %1 of %2 was refused: %3. The %4 entries before it were imported.")
                    .arg(QString::number(at.created + 1), QString::number(at.total),
                         DataText::isolated(*at.failure), QString::number(at.created)),
                this);
            stopped->setObjectName(QStringLiteral("importStopped"));
            stopped->open();
        }
        return false;
    });
    return count;
}

void LedgerListView::askAndImport() {
    const QString path = QFileDialog::getOpenFileName(this, tr("Import Entries"), QString(),
                                                      tr("CSV files (*.csv);;All files (*)"));
    if (!path.isEmpty()) importFile(path);
}

void LedgerListView::importFile(const QString& path) {
    auto started = importFrom(path);
    if (started) return;
    // The reason quotes the file's cells.
    QMessageBox* box =
        DataText::messageBox(QMessageBox::Warning, tr("Import Entries"), started.error(), this);
    box->setObjectName(QStringLiteral("importRefused"));
    box->open();
}

void LedgerListView::showCount() {
    // The header counts the account's entries whatever is shown; what the
    // search leaves is said beside it.
    header_->setTextFixingSize(tr("Transactions (%1)").arg(static_cast<qulonglong>(items_->totalCount())));
    shownCount_->setVisible(!items_->filter().showsAll());
    shownCount_->setText(tr("%1 shown").arg(static_cast<qulonglong>(items_->rowCount())));
}

QMenu* LedgerListView::rowMenu() const {
    return rowMenu_.data();
}

void LedgerListView::openRowMenu(const QModelIndex& index, const QPoint& globalPosition) {
    const LedgerEntry* shown = items_->entryAt(index);
    if (!shown) return;
    if (rowMenu_) rowMenu_->close();
    // The entry as it was when asked: a refresh may renumber the rows meanwhile.
    const LedgerEntry entry = *shown;
    rowMenu_ = new QMenu(this);
    rowMenu_->setObjectName(QStringLiteral("ledgerRowMenu"));
    rowMenu_->setAttribute(Qt::WA_DeleteOnClose);
    const auto copy = [](const std::string& text) {
        QApplication::clipboard()->setText(
            QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size())));
    };
    rowMenu_->addAction(tr("Edit"), this, [this, entry] { editEntry(entry); });
    rowMenu_->addAction(tr("Delete"), this, [this, id = entry.id] { model_.deleteEntry(id); });
    rowMenu_->addSeparator();
    rowMenu_->addAction(tr("Copy Memo"), this, [copy, memo = entry.memo] { copy(memo); });
    rowMenu_->addAction(tr("Copy Entry ID"), this, [copy, id = entry.id] { copy(id); });
    rowMenu_->popup(globalPosition);
}

EditEntrySheet* LedgerListView::editingSheet() const {
    return editing_.data();
}

void LedgerListView::editEntry(const LedgerEntry& entry) {
    if (editing_) return;
    editing_ = new EditEntrySheet(model_, entry, this);
    editing_->open();
}

bool LedgerListView::eventFilter(QObject* watched, QEvent* event) {
    if (watched == list_->viewport()) {
        if (event->type() == QEvent::MouseButtonPress) {
            auto* mouse = static_cast<QMouseEvent*>(event);
            const QPoint point = mouse->position().toPoint();
            const QModelIndex index = list_->indexAt(point);
            if (mouse->button() == Qt::LeftButton) {
                rows_->press(index, list_->visualRect(index), point);
                if (index.isValid()) list_->viewport()->update(list_->visualRect(index));
            }
        } else if (event->type() == QEvent::Leave) {
            rows_->clearHover();
            list_->viewport()->update();
        }
    }
    return QWidget::eventFilter(watched, event);
}

}  // namespace tallywick
