// SPDX-License-Identifier: MIT
#pragma once

#include <QMessageBox>
#include <QString>
#include <QStringView>
#include <string_view>

namespace tallywick {

// The one rule for text that comes from outside the window (agents' names
// and client information, memos, a file's cells, the host's reasons) on its
// way to a person: it shows as the characters it is, never as markup, and it
// cannot move the text around it.
namespace DataText {

// `text` between FIRST STRONG ISOLATE and POP DIRECTIONAL ISOLATE, line by
// line: a right-to-left name or an override inside stays inside. The
// text's own isolates are closed before the end, a stray closing one is
// left out, and U+009C, which Qt reads as a separator of alternative
// strings to elide between, shows as U+FFFD.
QString isolated(QStringView text);
QString isolated(std::string_view utf8);

// `text` with U+009C as U+FFFD, as `isolated` has it: for text that is laid
// out or elided before it is isolated line by line.
QString withoutVariantSeparators(QStringView text);

// Rich text that renders as `isolated(text)` and nothing else, wrapping
// where the text has room to: for tooltips, which Qt reads as rich text
// whenever the text looks like it. Line breaks become paragraph breaks.
QString literalRichText(QStringView text);

// A message box whose texts are plain text, however much they look like
// markup; put data into `text` through `isolated`. Deleted on close.
QMessageBox* messageBox(QMessageBox::Icon icon, const QString& title, const QString& text, QWidget* parent);

}  // namespace DataText
}  // namespace tallywick
