// SPDX-License-Identifier: MIT
// Text from agents and files, the shared hostile corpus, in every place the
// window shows it: as the characters it is, never as markup, and isolated,
// so that it cannot reorder or realign the text around it.
#include <QHelpEvent>
#include <QItemSelectionModel>
#include <QLabel>
#include <QMessageBox>
#include <QRegularExpression>
#include <QTextDocument>
#include <QToolTip>

#include <tallywick/app/DataText.h>
#include <tallywick/ui/ActivityView.h>
#include <tallywick/ui/ApiLogHeaderLine.h>
#include <tallywick/ui/ApiLogItemModel.h>

#include "RecordsWindow.h"
#include "support/HostileCorpus.h"

using namespace tallywick;
using namespace tallywick::testing;

namespace {

// Between the isolation marks, and left to right for what is around it.
bool isolated(const QString& shown) {
    return shown.startsWith(QChar(0x2068)) && shown.endsWith(QChar(0x2069)) && !shown.isRightToLeft();
}

// Qt takes the tooltip as rich text, and what that renders is `raw`
// isolated, with its line breaks as paragraph breaks.
bool rendersLiterally(const QString& tip, const QString& raw) {
    QTextDocument document;
    document.setHtml(tip);
    QString expected = DataText::isolated(raw);
    expected.replace(QLatin1Char('\r'), QChar::ParagraphSeparator).replace('\n', QChar::ParagraphSeparator);
    return Qt::mightBeRichText(tip) && document.toRawText() == expected;
}

// The tooltip `view` shows at `point`; empty when it shows none. One that
// would not go is read as this one, and does not render as its text.
QString toolTipAt(QAbstractItemView& view, const QPoint& point) {
    QToolTip::hideText();
    static_cast<void>(QTest::qWaitFor([] { return !QToolTip::isVisible(); }));
    QHelpEvent help(QEvent::ToolTip, point, view.viewport()->mapToGlobal(point));
    QApplication::sendEvent(view.viewport(), &help);
    return QToolTip::isVisible() ? QToolTip::text() : QString();
}

}  // namespace

class HostileTextTest : public QObject {
    Q_OBJECT

private slots:
    // The rule itself, over the whole corpus.
    void dataTextIsIsolatedAndLiteral() {
        for (const auto& hostile : test::hostileCorpus()) {
            const QString raw = QString::fromStdString(hostile.text);
            QVERIFY2(isolated(DataText::isolated(raw)), hostile.name.c_str());
            QVERIFY2(rendersLiterally(DataText::literalRichText(raw), raw), hostile.name.c_str());
        }
        // A stray closing mark cannot end the isolation early, nor an open one outlive it.
        QCOMPARE(DataText::isolated(QString::fromUtf8("a\u2069\u202eb\u2067c")),
                 QString::fromUtf8("\u2068a\u202eb\u2067c\u2069\u2069"));
    }

    // Each text as an agent's title and client field, as a memo, and as a
    // CSV file's cell and name: the sidebar, header, client information,
    // ledger, activity and message boxes show it isolated and plain, their
    // tooltips render it literally, and assistive tools get it unmarked.
    void windowShowsAgentTextLiterally() {
        RecordsWindow w;
        QVERIFY(w.open());
        const auto& corpus = test::hostileCorpus();
        for (const auto& hostile : corpus) {
            const QString text = QString::fromStdString(hostile.text);
            QVERIFY(w.connectWith(initializeLine(QJsonObject{
                {"name", QString::fromStdString(hostile.name)}, {"title", text}, {text.left(64), text}})));
        }
        QVERIFY(w.waitForAccounts(corpus.size()));
        const std::string first = w.model().accounts().front().id;
        for (const auto& hostile : corpus)
            w.model().createEntry({.accountId = first,
                                   .kind = TransactionKind::note,
                                   .flag = LedgerFlag::none,
                                   .amount = 0,
                                   .memo = hostile.text});
        QVERIFY(w.settle());

        AccountsSidebar& sidebar = w.sidebar();
        int tips = 0;
        const auto tipRendersLiterally = [&tips](const QString& tip, const QString& raw) {
            tips += tip.isEmpty() ? 0 : 1;
            return tip.isEmpty() || rendersLiterally(tip, raw);
        };
        const std::vector<Account> accounts = w.model().accounts();
        for (const Account& account : accounts) {
            const QString name = QString::fromStdString(account.displayName);
            const QModelIndex row = sidebar.items().indexOfAccount(account.id);
            QCOMPARE(row.data().toString(), DataText::isolated(name));
            QVERIFY(isolated(row.data().toString()));
            sidebar.scrollTo(row);
            QVERIFY(tipRendersLiterally(toolTipAt(sidebar, sidebar.visualRect(row).center()), name));

            w.model().setSelectedAccountID(account.id);
            auto* header = w.find<QLabel>("accountName");
            QTRY_COMPARE(header->accessibleName(), name);
            // Long words carry break opportunities (U+200B) so that they wrap.
            QCOMPARE(header->text().remove(QChar(0x200B)), DataText::isolated(name).remove(QChar(0x200B)));
            QCOMPARE(header->textFormat(), Qt::PlainText);
            const auto labels =
                w.window().findChildren<QLabel*>(QRegularExpression("^clientInfo(Key|Value)$"));
            QCOMPARE(labels.size(), 2 * static_cast<qsizetype>(account.clientInfoFields->size()));
            for (QLabel* label : labels) {
                QVERIFY2(isolated(label->text()) && label->textFormat() == Qt::PlainText, qPrintable(name));
                if (!label->toolTip().isEmpty())
                    QVERIFY(rendersLiterally(label->toolTip(), label->accessibleName()));
            }
        }
        for (int i = 0; i < sidebar.items().rowCount(sidebar.items().sectionIndex(1)); ++i)
            QVERIFY(isolated(sidebar.items().index(i, 0, sidebar.items().sectionIndex(1)).data().toString()));
        QVERIFY(tips > 0);

        w.model().setSelectedAccountID(first);
        QVERIFY(w.waitForEntries(corpus.size() + 1));
        LedgerTableView& list = *w.ledger().list();
        tips = 0;
        for (int i = 0; i < list.model()->rowCount(); ++i) {
            const QModelIndex row = list.model()->index(i, 0);
            const QString memo = row.data(LedgerItemModel::MemoRole).toString();
            if (memo.isEmpty()) continue;
            QCOMPARE(row.data().toString(), DataText::isolated(memo));
            list.scrollTo(row);
            const QRect rect = list.visualRect(row);
            const QPoint over(LedgerRowDelegate::badgeRect(rect).right() + 40, rect.center().y());
            QVERIFY(tipRendersLiterally(toolTipAt(list, over), memo));
        }
        QVERIFY(tips > 0);

        // The activity rows' header lines: each label one line, isolated.
        const ApiLogItemModel& log = w.window().findChild<ActivityView*>()->items();
        int labelled = 0;
        for (int i = 0; i < log.rowCount(); ++i) {
            const ApiLogEntry& entry = log.rowAt(log.index(i))->entry;
            if (!entry.clientLabel) continue;
            const QString shown = ApiLogHeaderLine::clientShown(entry);
            QVERIFY2(isolated(shown) && !shown.contains(QRegularExpression("[\\n\\r\\x{2028}\\x{2029}]")),
                     entry.clientLabel->c_str());
            ++labelled;
        }
        QVERIFY(labelled > 0);

        // A file whose cell the reader quotes, and one that cannot be written.
        QTemporaryDir folder;
        for (const auto& hostile : corpus) {
            const QString cell = QString::fromStdString(hostile.text);
            QFile csv(folder.filePath("in.csv"));
            QVERIFY(csv.open(QIODevice::WriteOnly | QIODevice::Truncate));
            csv.write(
                ("kind,flag,amount,memo\r\n\"" + QString(cell).replace("\"", "\"\"") + "\",none,5,x\r\n")
                    .toUtf8());
            csv.close();
            w.ledger().importFile(csv.fileName());
            w.ledger().exportFile(folder.filePath("missing/") + cell, false);
            for (const char* name : {"importRefused", "exportFailed"}) {
                std::unique_ptr<QMessageBox> box(w.ledger().findChild<QMessageBox*>(name));
                QVERIFY2(box && box->textFormat() == Qt::PlainText && !box->text().isRightToLeft(), name);
            }
        }
    }
};

QTEST_MAIN(HostileTextTest)
#include "HostileTextTest.moc"
