// The toolkit floor: the least a Qt Widgets program needs to put a titled item in the panel and
// show a line of text in a popup when it is clicked. Whatever mireo-pulse costs above this is ours.
#include <QApplication>
#include <QLabel>
#include <QPainter>
#include <QSystemTrayIcon>

int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    QApplication::setApplicationDisplayName(QStringLiteral("M +12.3%"));
    QApplication::setQuitOnLastWindowClosed(false);
    QPixmap dot(22, 22);
    dot.fill(Qt::transparent);
    QPainter(&dot).fillRect(QRect(6, 6, 10, 10), QColor(0xD4, 0xA8, 0x43));
    QSystemTrayIcon tray{QIcon(dot)};
    tray.setToolTip(QStringLiteral("M +12.3%"));
    QLabel popup(QStringLiteral("Mireo  M +12.3%"), nullptr, Qt::Popup);
    QObject::connect(&tray, &QSystemTrayIcon::activated, &popup, [&popup] {
        if (popup.isVisible()) {
            popup.hide();
            return;
        }
        popup.move(600, 10);
        popup.show();
    });
    tray.show();
    return QApplication::exec();
}
