#include "app/DesktopBrowser.h"

#include <QDesktopServices>
#include <QUrl>

void DesktopBrowser::open(const QUrl &url)
{
    QDesktopServices::openUrl(url);
}
