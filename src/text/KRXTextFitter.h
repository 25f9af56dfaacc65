#pragma once

#include <QObject>

class QFont;

/// Keeps the texts of a widget of fixed width within it: where the host's font or a translation is too wide
/// for the width that the layout prescribes, the widget and what is in it get a font that fits.
class KRXTextFitter : public QObject
{
    Q_OBJECT

public:
    /// \param widget of fixed width, and without a font of its own; it owns the fitter.
    explicit KRXTextFitter(QWidget* widget);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void fit();
    int widthIn(const QFont& font) const;
    int room() const;

    QWidget* m_widget;
    bool m_isFitting = false;
};
