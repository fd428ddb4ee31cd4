#pragma once

#include "platform/linux/StatusNotifierItemTypes.h"

#include <QDBusAbstractAdaptor>
#include <QDBusObjectPath>

class StatusNotifierItem;

// What the panel sees of a StatusNotifierItem: the org.kde.StatusNotifierItem properties,
// change signals and methods.
class StatusNotifierItemAdaptor : public QDBusAbstractAdaptor
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierItem")
    Q_PROPERTY(QString Category READ category)
    Q_PROPERTY(QString Id READ id)
    Q_PROPERTY(QString Title READ title)
    Q_PROPERTY(QString Status READ status)
    Q_PROPERTY(int WindowId READ windowId)
    Q_PROPERTY(QString IconThemePath READ empty)
    Q_PROPERTY(QString IconName READ iconName)
    Q_PROPERTY(sni::IconPixmaps IconPixmap READ iconPixmap)
    Q_PROPERTY(QString OverlayIconName READ empty)
    Q_PROPERTY(sni::IconPixmaps OverlayIconPixmap READ noPixmaps)
    Q_PROPERTY(QString AttentionIconName READ empty)
    Q_PROPERTY(sni::IconPixmaps AttentionIconPixmap READ noPixmaps)
    Q_PROPERTY(QString AttentionMovieName READ empty)
    Q_PROPERTY(sni::ToolTip ToolTip READ toolTip)
    Q_PROPERTY(bool ItemIsMenu READ itemIsMenu)
    Q_PROPERTY(QString XAyatanaLabel READ title)
    Q_PROPERTY(QString XAyatanaLabelGuide READ labelGuide)
    Q_PROPERTY(QDBusObjectPath Menu READ menu)

public:
    explicit StatusNotifierItemAdaptor(StatusNotifierItem *item);

    QString category() const { return QStringLiteral("ApplicationStatus"); }
    QString id() const;
    QString title() const;
    QString status() const { return QStringLiteral("Active"); }
    int windowId() const { return 0; }
    QString empty() const { return {}; }
    QString iconName() const;
    sni::IconPixmaps iconPixmap() const { return m_pixmaps; }
    sni::IconPixmaps noPixmaps() const { return {}; }
    sni::ToolTip toolTip() const;
    // Not a menu: a left click asks for Activate, which opens the popover.
    bool itemIsMenu() const { return false; }
    QString labelGuide() const;
    QDBusObjectPath menu() const;

public Q_SLOTS:
    void Activate(int x, int y);
    void SecondaryActivate(int x, int y);
    void ContextMenu(int x, int y);
    void Scroll(int delta, const QString &orientation);

Q_SIGNALS:
    void NewTitle();
    void NewIcon();
    void NewAttentionIcon();
    void NewOverlayIcon();
    void NewToolTip();
    void NewStatus(const QString &status);
    void XAyatanaNewLabel(const QString &label, const QString &guide);

private:
    StatusNotifierItem *m_item;
    sni::IconPixmaps m_pixmaps;
};
