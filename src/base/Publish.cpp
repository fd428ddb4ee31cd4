#include "base/Publish.h"

#include <QMetaMethod>
#include <QObject>

namespace base {

void connectFieldChanges(const QObject &store, const QObject *receiver, const QMetaMethod &slot)
{
    const QMetaObject *meta = store.metaObject();
    for (int i = meta->methodOffset(); i < meta->methodCount(); ++i) {
        const QMetaMethod signal = meta->method(i);
        if (signal.methodType() == QMetaMethod::Signal && signal.parameterCount() == 0 &&
            signal.name().endsWith("Changed"))
            QObject::connect(&store, signal, receiver, slot);
    }
}

} // namespace base
