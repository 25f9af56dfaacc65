#include "VProfileComboBox.h"

#include "KRXProfileState.h"

#include <QStyleOptionComboBox>
#include <QStylePainter>

namespace {

/// What the style's own label keeps free around the text, in pixels.
constexpr int kTextMargin = 4;

} // namespace

VProfileComboBox::VProfileComboBox(const KRXProfileState& state, QWidget* parent)
    : QComboBox(parent)
    , m_state(state)
{
}

void VProfileComboBox::paintEvent(QPaintEvent*)
{
    QStylePainter painter(this);
    QStyleOptionComboBox option;
    initStyleOption(&option);
    const QString mark = m_state.isModified() ? QStringLiteral(" *") : QString();
    const QRect field =
        style()->subControlRect(QStyle::CC_ComboBox, &option, QStyle::SC_ComboBoxEditField, this);
    const int room = field.width() - option.fontMetrics.horizontalAdvance(mark) - kTextMargin;
    option.currentText = option.fontMetrics.elidedText(currentText(), Qt::ElideRight, room) + mark;
    painter.drawComplexControl(QStyle::CC_ComboBox, option);
    painter.drawControl(QStyle::CE_ComboBoxLabel, option);
}
