#pragma once

#include <QComboBox>

class KRXProfileState;

/// The editor's profile box. It shows the mark of unsaved changes behind the profile's name.
class VProfileComboBox : public QComboBox
{
    Q_OBJECT

public:
    /// \param state asked for the mark at every painting; not owned, outlives the box.
    VProfileComboBox(const KRXProfileState& state, QWidget* parent);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    const KRXProfileState& m_state;
};
