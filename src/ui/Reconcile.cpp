#include "ui/Reconcile.h"

#include "ui/SparklineView.h"
#include "ui/Symbols.h"
#include "ui/Widgets.h"

#include <QBoxLayout>
#include <QCheckBox>
#include <QComboBox>
#include <QPushButton>
#include <QSignalBlocker>

namespace ui {

namespace {

bool sameKind(const QObject *a, const QObject *b)
{
    return a->metaObject() == b->metaObject() && a->objectName() == b->objectName();
}

bool sameItemKind(QLayoutItem *a, QLayoutItem *b)
{
    if (a->widget() || b->widget())
        return a->widget() && b->widget() && sameKind(a->widget(), b->widget());
    if (a->layout() || b->layout())
        return a->layout() && b->layout() &&
               sameKind(static_cast<QObject *>(a->layout()), static_cast<QObject *>(b->layout()));
    return a->spacerItem() && b->spacerItem();
}

// A combo box keeps its place only while it offers as many choices: their labels change with
// the language, the selection with the setting.
bool copyCombo(QComboBox *to, const QComboBox *from)
{
    if (to->count() != from->count())
        return false;
    for (int i = 0; i < to->count(); ++i) {
        if (to->itemText(i) != from->itemText(i))
            to->setItemText(i, from->itemText(i));
        if (to->itemData(i) != from->itemData(i))
            to->setItemData(i, from->itemData(i));
    }
    if (to->currentIndex() != from->currentIndex()) {
        const QSignalBlocker quiet(to);
        to->setCurrentIndex(from->currentIndex());
    }
    return true;
}

// What a widget shows, copied from its fresh twin; false when it cannot be updated in place.
bool copyState(QWidget *to, const QWidget *from)
{
    if (auto *label = qobject_cast<ToneLabel *>(to)) {
        const auto *source = static_cast<const ToneLabel *>(from);
        if (label->text() != source->text())
            label->setText(source->text());
        if (label->tone() != source->tone())
            label->setTone(source->tone());
    } else if (auto *plain = qobject_cast<QLabel *>(to)) {
        if (plain->text() != static_cast<const QLabel *>(from)->text())
            plain->setText(static_cast<const QLabel *>(from)->text());
    } else if (auto *pill = qobject_cast<PillView *>(to)) {
        const auto *source = static_cast<const PillView *>(from);
        pill->setPill(source->text(), source->tone());
    } else if (auto *badge = qobject_cast<FreshnessBadgeView *>(to)) {
        badge->setFreshness(static_cast<const FreshnessBadgeView *>(from)->freshness());
    } else if (auto *symbol = qobject_cast<SymbolView *>(to)) {
        const auto *source = static_cast<const SymbolView *>(from);
        symbol->setSymbol(source->symbol(), source->tone());
    } else if (auto *chart = qobject_cast<SparklineView *>(to)) {
        const auto *source = static_cast<const SparklineView *>(from);
        chart->setValues(source->values());
        chart->setTone(source->tone());
    } else if (auto *button = qobject_cast<QAbstractButton *>(to)) {
        const auto *source = static_cast<const QAbstractButton *>(from);
        if (button->text() != source->text())
            button->setText(source->text());
        if (button->isCheckable() && button->isChecked() != source->isChecked()) {
            // Mirrors the state the view already holds: no action runs.
            const QSignalBlocker quiet(button);
            button->setChecked(source->isChecked());
        }
    } else if (auto *combo = qobject_cast<QComboBox *>(to)) {
        if (!copyCombo(combo, static_cast<const QComboBox *>(from)))
            return false;
    }
    if (to->isEnabled() != from->isEnabled())
        to->setEnabled(from->isEnabled());
    if (to->minimumSize() != from->minimumSize())
        to->setMinimumSize(from->minimumSize());
    if (to->maximumSize() != from->maximumSize())
        to->setMaximumSize(from->maximumSize());
    if (to->contentsMargins() != from->contentsMargins())
        to->setContentsMargins(from->contentsMargins());
    return true;
}

void discard(QLayoutItem *item)
{
    if (QWidget *widget = item->widget()) {
        delete widget;
        delete item;
    } else if (QLayout *layout = item->layout()) {
        while (QLayoutItem *child = layout->takeAt(0))
            discard(child);
        delete layout; // the layout is its own item
    } else {
        delete item;
    }
}

// Moves `item`, taken from the fresh tree, into `to` at `index`.
void adopt(QBoxLayout *to, int index, QLayoutItem *item, int stretch)
{
    if (QWidget *widget = item->widget()) {
        const Qt::Alignment alignment = item->alignment();
        delete item;
        to->insertWidget(index, widget, stretch, alignment);
    } else if (QLayout *layout = item->layout()) {
        to->insertLayout(index, layout, stretch);
    } else {
        to->insertItem(index, item);
        to->setStretch(index, stretch);
    }
}

bool reconcileWidget(QWidget *to, QWidget *from);

void reconcileLayout(QBoxLayout *to, QBoxLayout *from)
{
    if (to->spacing() != from->spacing())
        to->setSpacing(from->spacing());
    if (to->contentsMargins() != from->contentsMargins())
        to->setContentsMargins(from->contentsMargins());
    int index = 0;
    while (from->count() > 0) {
        QLayoutItem *fresh = from->itemAt(0);
        const int stretch = from->stretch(0);
        QLayoutItem *kept = index < to->count() ? to->itemAt(index) : nullptr;
        if (!kept || !sameItemKind(kept, fresh)) {
            // A row that went away: drop the old ones up to the next one that still matches.
            int later = -1;
            for (int j = index + 1; j < to->count() && later < 0; ++j)
                if (sameItemKind(to->itemAt(j), fresh))
                    later = j;
            if (later >= 0) {
                while (later-- > index)
                    discard(to->takeAt(index));
                continue;
            }
            adopt(to, index++, from->takeAt(0), stretch);
            continue;
        }
        if (QWidget *widget = kept->widget()) {
            if (!reconcileWidget(widget, fresh->widget())) {
                discard(to->takeAt(index));
                adopt(to, index, from->takeAt(0), stretch);
            } else {
                kept->setAlignment(fresh->alignment());
                delete from->takeAt(0); // the fresh widget dies with the fresh tree
            }
        } else if (QLayout *layout = kept->layout()) {
            auto *freshBox = qobject_cast<QBoxLayout *>(fresh->layout());
            auto *keptBox = qobject_cast<QBoxLayout *>(layout);
            if (freshBox && keptBox) {
                reconcileLayout(keptBox, freshBox);
                discard(from->takeAt(0));
            } else {
                discard(to->takeAt(index));
                adopt(to, index, from->takeAt(0), stretch);
            }
        } else {
            QSpacerItem *spacer = kept->spacerItem();
            const QSpacerItem *source = fresh->spacerItem();
            if (spacer->sizeHint() != source->sizeHint() ||
                spacer->sizePolicy().horizontalPolicy() !=
                    source->sizePolicy().horizontalPolicy() ||
                spacer->sizePolicy().verticalPolicy() != source->sizePolicy().verticalPolicy())
                spacer->changeSize(source->sizeHint().width(), source->sizeHint().height(),
                                   source->sizePolicy().horizontalPolicy(),
                                   source->sizePolicy().verticalPolicy());
            discard(from->takeAt(0));
        }
        if (to->stretch(index) != stretch)
            to->setStretch(index, stretch);
        ++index;
    }
    while (to->count() > index)
        discard(to->takeAt(index));
    to->invalidate();
}

bool reconcileWidget(QWidget *to, QWidget *from)
{
    if (!sameKind(to, from))
        return false;
    auto *toBox = qobject_cast<QBoxLayout *>(to->layout());
    auto *fromBox = qobject_cast<QBoxLayout *>(from->layout());
    if (bool(to->layout()) != bool(from->layout()) || bool(toBox) != bool(fromBox))
        return false;
    if (!copyState(to, from))
        return false;
    if (toBox)
        reconcileLayout(toBox, fromBox);
    return true;
}

} // namespace

bool reconcile(QWidget *current, QWidget *fresh)
{
    const bool kept = reconcileWidget(current, fresh);
    if (kept)
        delete fresh;
    return kept;
}

} // namespace ui
