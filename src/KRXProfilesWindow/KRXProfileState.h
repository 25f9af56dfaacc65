#pragma once

#include "KRXExport.h"

class QWidget;

/// Whether the profile in the editor has changes that were not saved, and the window that shows it.
class KRX_EXPORT KRXProfileState
{
public:
    /// \param window repainted whenever the mark is set or taken away; not owned, outlives the state.
    explicit KRXProfileState(QWidget* window)
        : m_window(window)
    {
    }

    bool isModified() const { return m_modified; }
    /// Sets or takes away the mark and repaints the window.
    void setModified(bool modified);

private:
    QWidget* m_window;
    bool m_modified = false;
};
