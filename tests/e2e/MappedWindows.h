#pragma once

#include <QByteArray>
#include <QList>
#include <QRect>
#include <QString>

namespace testing {

struct MappedWindow
{
    quint32 id = 0;
    QString name;  // WM_NAME, empty when unset
    QString title; // _NET_WM_NAME, the title a window manager shows; empty when unset
    QRect frame;   // in root coordinates
};

// The top-level windows that are mapped (visible) on `display` right now, as the X server sees
// them: with no window manager, every top-level window is a child of the root window.
QList<MappedWindow> mappedWindows(const QByteArray &display);

// The windows of `now` that `before` did not have.
QList<MappedWindow> newWindows(const QList<MappedWindow> &before, const QList<MappedWindow> &now);

} // namespace testing
