#include "app/NotchCheck.h"

#include "settings/L.h"

#include <QTimer>

namespace notch {

bool isHidden(const std::optional<QRectF> &itemFrame, const std::optional<ScreenGeometry> &screen)
{
    if (!itemFrame || !screen || !(screen->safeAreaTopInset > 0))
        return false;
    if (!screen->auxiliaryTopLeftArea || !screen->auxiliaryTopRightArea)
        return false;
    // QRectF::right() is x + width, the maximum x of the frame.
    return itemFrame->right() > screen->auxiliaryTopLeftArea->right() &&
           itemFrame->left() < screen->auxiliaryTopRightArea->left();
}

Warning warning()
{
    return {
        QString::fromLatin1(notificationIdentifier),
        L::text("Mireo is hidden by the notch", "A Mireo est\u00E1 atr\u00E1s do notch"),
        L::text("Your menu bar is full, so macOS placed Mireo behind the camera. Remove an icon "
                "(Cmd-drag it off) to see the pulse.",
                "A tua barra est\u00E1 cheia e o macOS p\u00F4s a Mireo atr\u00E1s da c\u00E2mara. "
                "Remove um \u00EDcone (Cmd+arrastar) para veres o pulso."),
    };
}

void schedule(QObject *owner, Hooks hooks, std::chrono::milliseconds after)
{
    // The owner is the timer's context: once it is gone, nothing fires.
    QTimer::singleShot(after, owner, [hooks] {
        if (!hooks.itemFrame || !hooks.screenOf || !hooks.post)
            return;
        const std::optional<QRectF> frame = hooks.itemFrame();
        if (!frame)
            return;
        if (isHidden(frame, hooks.screenOf(*frame)))
            hooks.post(warning());
    });
}

} // namespace notch
