#pragma once

#include <QLabel>
#include <QPixmap>

class QTimer;

// A square label that shows work in progress as a turning picture, then a check mark for
// success or a grey cross, with the error as tool tip, for failure. It keeps its size while
// empty, so that layouts do not jump.
class Spinner : public QLabel
{
    Q_OBJECT

public:
    // `size` is the side in pixels.
    explicit Spinner(int size, QWidget *parent = nullptr);

    bool isSpinning() const;
    int currentAngle() const { return angle; }
    // The picture of a failure, the grey cross unless a box wants its own.
    void setErrorPicture(const QString &path) { errorPicture = path; }

public slots:
    void setInProgress();
    void setSuccess();
    void setError(QString errorString);
    // Empties the picture and the tool tip; the label keeps its place.
    void hide();

private slots:
    void rotate();

private:
    QPixmap scaledPicture(const QString &path) const;

    QTimer *timer = nullptr;
    // Named apart from QLabel::pixmap() and QWidget::size(), which they would hide.
    QPixmap spinnerPixmap;
    int spinnerSize = 0;
    int angle = 0;
    QString errorPicture = QStringLiteral(":/picto/grey-cross");
};
