#pragma once

#include <QObject>

/// Keeps the texts of a widget of fixed width within it: where the host's font or a translation is too wide
/// for the width that the layout prescribes, the widget and what is in it get a smaller font.
class XelTextFitter : public QObject
{
    Q_OBJECT

public:
    /// \param widget of fixed width, and without a font of its own; it owns the fitter.
    explicit XelTextFitter(QWidget* widget);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void fit();

    QWidget* m_widget;
    bool m_isFitting = false;
};
