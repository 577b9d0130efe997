// SPDX-License-Identifier: MIT
#include <tallywick/app/DataText.h>

namespace tallywick::DataText {
namespace {

constexpr char16_t kFirstStrongIsolate = 0x2068;
constexpr char16_t kPopIsolate = 0x2069;
constexpr char16_t kStringTerminator = 0x9c;

bool opensIsolate(QChar c) {
    const QChar::Direction direction = c.direction();
    return direction == QChar::DirLRI || direction == QChar::DirRLI || direction == QChar::DirFSI;
}

}  // namespace

QString isolated(QStringView text) {
    QString out;
    out.reserve(text.size() + 4);
    out += QChar(kFirstStrongIsolate);
    int open = 0;  // the text's own isolates not yet closed
    const auto close = [&] {
        for (; open > 0; --open) out += QChar(kPopIsolate);
        out += QChar(kPopIsolate);
    };
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text[i];
        if (c.direction() == QChar::DirB) {
            // Isolates end with the paragraph: each line is isolated on its own.
            close();
            out += c;
            if (c == QLatin1Char('\r') && i + 1 < text.size() && text[i + 1] == QLatin1Char('\n'))
                out += text[++i];
            out += QChar(kFirstStrongIsolate);
        } else if (opensIsolate(c)) {
            ++open;
            out += c;
        } else if (c.direction() == QChar::DirPDI) {
            // One that matches nothing of the text's own would end ours early.
            if (open == 0) continue;
            --open;
            out += c;
        } else {
            out += c == QChar(kStringTerminator) ? QChar(QChar::ReplacementCharacter) : c;
        }
    }
    close();
    return out;
}

QString withoutVariantSeparators(QStringView text) {
    return text.toString().replace(QChar(kStringTerminator), QChar(QChar::ReplacementCharacter));
}

QString isolated(std::string_view utf8) {
    return isolated(QString::fromUtf8(utf8.data(), static_cast<qsizetype>(utf8.size())));
}

QString literalRichText(QStringView text) {
    return QStringLiteral("<p style=\"white-space:pre-wrap\">") + isolated(text).toHtmlEscaped() +
           QStringLiteral("</p>");
}

QMessageBox* messageBox(QMessageBox::Icon icon, const QString& title, const QString& text, QWidget* parent) {
    auto* box = new QMessageBox(icon, title, QString(), QMessageBox::Ok, parent);
    box->setTextFormat(Qt::PlainText);
    box->setText(text);
    box->setAttribute(Qt::WA_DeleteOnClose);
    return box;
}

}  // namespace tallywick::DataText
