#pragma once

#include <QKeyCombination>
#include <QObject>

// One system-wide key combination for the life of the process. Registration failures are
// silent by design: when another program owns the combination, the key simply does nothing.
class HotKey : public QObject
{
    Q_OBJECT
public:
    using QObject::QObject;

    // The shell's combination: Alt+Shift+K (Option-Shift-K on a Mac keyboard).
    static constexpr QKeyCombination quickPanelCombination{Qt::AltModifier | Qt::ShiftModifier,
                                                           Qt::Key_K};

    // Grabs `combination`; true when it is now ours. Call once.
    virtual bool registerCombination(QKeyCombination combination) = 0;

Q_SIGNALS:
    // On the next turn of the event loop after each press.
    void activated();
};
