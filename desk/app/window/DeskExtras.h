#pragma once

#include "DeskApi.h"

#include <QString>
#include <QStringList>

struct DeskOptions;
class DeskWindow;

/// The demo and the guided tour. They are a library of their own, which is loaded only when an option asks
/// for it: the desk that a person works with neither contains nor needs it.
class DeskExtras
{
public:
    /// The library's only exported function: \ref Entry.
    static constexpr const char* kEntryName = "krxDeskExtras";
    /// \param version the version of the desk that asks. \return what lives as long as the process; null when
    /// the library belongs to a desk of another version.
    using Entry = DeskExtras* (*)(const char* version);

    virtual ~DeskExtras() = default;

    /// Plays the guided tour. \return the program's exit code.
    virtual int runTour(const DeskOptions& options) = 0;
    /// Makes the demo's media and sets the options to its own project, service data and port.
    /// \return false with a text in \a error.
    virtual bool prepareDemo(DeskOptions& options, QString& error) = 0;
    /// Has the demo fill the watched folder when the service is there for the first time.
    virtual void followDemo(DeskWindow& window) = 0;

    /// Where the library is looked for: beside the program and in the library folders next to it. Needs an
    /// application object.
    static QStringList places();
    /// The library's file in the first of \a places that has one; empty when none has.
    static QString find(const QStringList& places);
    /// Loads the library. \return null with a text in \a error when it is not installed or does not fit.
    static DeskExtras* load(const QStringList& places, QString& error);
    /// What a person is told who asks for the demo or the tour where the library is not installed.
    static QString notInstalled();
};
