#pragma once

class QWidget;

namespace ui {

// Makes `current` show what `fresh` shows while keeping every widget of `current` whose place,
// class and object name are unchanged: texts, tones, values, enabled and checked states and
// sizes are copied over, so an open drop-down stays open and focus and hover stay where they
// are. Widgets and rows that `fresh` has in addition move over; those it no longer has go.
// Takes `fresh`, whatever is left of it is deleted. Returns false, changing nothing, when the
// two do not even share their own class and name.
bool reconcile(QWidget *current, QWidget *fresh);

} // namespace ui
