#include "qtexteditlimit.h"

#include <QKeyEvent>
#include <QMimeData>

namespace {

// Keys that change the text without adding to it, so that they still work at the limit.
bool insertsNothing(const QKeyEvent *event)
{
    const QString text = event->text();
    if (text.isEmpty())
        return true;
    switch (event->key()) {
    case Qt::Key_Backspace:
    case Qt::Key_Delete:
    case Qt::Key_Cancel:
        return true;
    default:
        break;
    }
    if (text.size() != 1)
        return false;
    const QChar c = text.at(0);
    return c.category() == QChar::Other_Control && c != QLatin1Char('\t') && c != QLatin1Char('\n')
           && c != QLatin1Char('\r');
}

int utf8Length(const QString &text)
{
    return text.toUtf8().size();
}

} // namespace

QTextEditLimit::QTextEditLimit(QWidget *parent)
    : QTextEdit(parent)
{
    setAcceptRichText(false);
}

void QTextEditLimit::setLimit(int bytes)
{
    limit = qMax(0, bytes);
}

int QTextEditLimit::byteLength() const
{
    return utf8Length(toPlainText());
}

void QTextEditLimit::keyPressEvent(QKeyEvent *event)
{
    if (limit > 0 && byteLength() >= limit && !insertsNothing(event)) {
        event->accept();
        return;
    }
    QTextEdit::keyPressEvent(event);
}

void QTextEditLimit::insertFromMimeData(const QMimeData *source)
{
    QMimeData filtered;
    if (source->hasColor())
        filtered.setColorData(source->colorData());
    if (source->hasHtml())
        filtered.setHtml(source->html());
    if (source->hasImage())
        filtered.setImageData(source->imageData());
    bool textKept = limit <= 0;
    if (source->hasText()) {
        const int present = byteLength();
        if (limit <= 0) {
            filtered.setText(source->text());
        } else if (present < limit) {
            QString text = source->text();
            while (!text.isEmpty() && present + utf8Length(text) > limit) {
                // Drop one whole character: both halves of a surrogate pair go together.
                int cut = 1;
                if (text.size() >= 2 && text.at(text.size() - 1).isLowSurrogate()
                    && text.at(text.size() - 2).isHighSurrogate())
                    cut = 2;
                text.chop(cut);
            }
            if (!text.isEmpty()) {
                filtered.setText(text);
                textKept = true;
            }
        }
    }
    // The base class turns bare URLs into text: with a limit they only come along beside a
    // text that fits, which the base class prefers.
    if (source->hasUrls() && textKept)
        filtered.setUrls(source->urls());
    QTextEdit::insertFromMimeData(&filtered);
}
