#pragma once

#include <QTextEdit>

// A plain-text field holding at most `limit` bytes of UTF-8, for message formats counted in
// bytes. Typing stops at the limit; a paste is cut at a character border to fit.
class QTextEditLimit : public QTextEdit
{
    Q_OBJECT

public:
    explicit QTextEditLimit(QWidget *parent = nullptr);

    // 0 means no limit.
    void setLimit(int bytes);
    int byteLimit() const { return limit; }
    // The UTF-8 length of the present plain text.
    int byteLength() const;

protected:
    void keyPressEvent(QKeyEvent *event) override;
    void insertFromMimeData(const QMimeData *source) override;

private:
    int limit = 0;
};
