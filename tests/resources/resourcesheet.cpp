// resourcesheet <out.png>: draws every image of the resource tree on a dark sheet, with its name,
// so that the whole set can be looked over at once.
#include <QDirIterator>
#include <QGuiApplication>
#include <QPainter>
#include <QPixmap>
#include <QTextStream>

int main(int argc, char **argv)
{
    QGuiApplication app(argc, argv);
    if (argc != 2) {
        QTextStream(stderr) << "usage: resourcesheet <out.png>\n";
        return 2;
    }
    QStringList paths;
    QDirIterator it(QStringLiteral(":/"), QDir::Files, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        static const QStringList folders = {"panel", "buttons", "common", "menu", "picto", "popup", "widgets"};
        if (path == QLatin1String(":/icon") || path == QLatin1String(":/logo")
            || folders.contains(path.section(QLatin1Char('/'), 1, 1)))
            paths << path;
    }
    paths.sort();

    const int cell = 150, columns = 10;
    const int rows = (paths.size() + columns - 1) / columns;
    QImage sheet(columns * cell, rows * cell, QImage::Format_ARGB32);
    sheet.fill(QColor(0x26, 0x26, 0x26));
    QPainter painter(&sheet);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    QFont font = painter.font();
    font.setPixelSize(9);
    painter.setFont(font);
    for (int i = 0; i < paths.size(); ++i) {
        const QRect box((i % columns) * cell, (i / columns) * cell, cell, cell);
        painter.fillRect(box.adjusted(2, 2, -2, -2), (i / columns + i % columns) % 2 ? QColor(0, 0, 0)
                                                                                     : QColor(0x1d, 0x1d, 0x1d));
        QPixmap pixmap(paths[i]);
        if (pixmap.width() > 110 || pixmap.height() > 110)
            pixmap = pixmap.scaled(110, 110, Qt::KeepAspectRatio, Qt::SmoothTransformation);
        else if (pixmap.width() <= 32 && pixmap.height() <= 32)
            pixmap = pixmap.scaled(pixmap.size() * 2, Qt::KeepAspectRatio, Qt::SmoothTransformation);
        painter.drawPixmap(box.center().x() - pixmap.width() / 2, box.top() + 10 + (110 - pixmap.height()) / 2,
                           pixmap);
        painter.setPen(Qt::white);
        painter.drawText(box.adjusted(3, 0, -3, -3), Qt::AlignBottom | Qt::AlignHCenter | Qt::TextWrapAnywhere,
                         paths[i].mid(2));
    }
    painter.end();
    return sheet.save(QString::fromLocal8Bit(argv[1])) ? 0 : 1;
}
