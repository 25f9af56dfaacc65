#pragma once

#include "HostOperations.h"

#include <QString>
#include <QStringList>

/// What was found out about a host.
class HostFindings
{
public:
    using Step = void (*)(const char* what);

    /// \param onStep is told what is looked at, each time before that; may be null.
    explicit HostFindings(Step onStep = nullptr)
        : m_onStep(onStep)
    {
    }
    /// What is looked at next.
    void step(const char* what) const
    {
        if (m_onStep)
            m_onStep(what);
    }
    /// The host breaks its word.
    void fault(const QString& text) { m_faults.append(text); }
    /// The host has none of something, which it may.
    void none(const QString& text) { m_nones.append(text); }
    /// \return \a isSound; when it is not, that is a fault.
    bool expect(bool isSound, const QString& text)
    {
        if (!isSound)
            fault(text);
        return isSound;
    }
    const QStringList& faults() const { return m_faults; }
    const QStringList& nones() const { return m_nones; }

private:
    Step m_onStep;
    QStringList m_faults;
    QStringList m_nones;
};

/// Calls what a host has as the module does. GUI thread; an application must be there.
namespace HostCheck {

/// Whether every operation is there. The other checks call all of them.
void checkTable(const HostOperations& host, HostFindings& findings);
void checkTexts(const HostOperations& host, HostFindings& findings);
void checkVolumes(const HostOperations& host, HostFindings& findings);
void checkMediaEngine(const HostOperations& host, HostFindings& findings);
void checkShells(const HostOperations& host, HostFindings& findings);
/// Opens a message box and a chooser and closes both as a person does.
void checkDialogs(const HostOperations& host, HostFindings& findings);
/// Every slot of the REST client and its responses, with a small server on the loopback address.
void checkRestClient(const HostOperations& host, HostFindings& findings);

} // namespace HostCheck

/// To be defined by whoever links the program: the host to be looked at.
HostOperations krxHostToCheck();
