#pragma once

#include <QString>
#include <QStringList>

/// What the command line asks for.
struct DeskOptions
{
    enum class Mode { Window, Tour, ShowHelp, ShowVersion, Describe };
    enum class Skin { Light, Dark };

    Mode mode = Mode::Window;
    /// The project file; the one of the last time when empty.
    QString project;
    QString serviceData;
    QString serviceProgram;
    /// The demo's folder; empty for no demo.
    QString demo;
    /// Where the tour leaves its pictures.
    QString tour;
    QString language;
    Skin skin = Skin::Light;
    bool skinGiven = false;

    /// Whether the demo or the tour is asked for, which are a library of their own.
    bool needsExtras() const { return !demo.isEmpty() || mode == Mode::Tour; }

    /// Reads the arguments, the program's name first. \return false with a text in \a error.
    static bool parse(const QStringList& arguments, DeskOptions& options, QString& error);
    /// What --help prints.
    static QString helpText();
    /// The same for programs, from which the manual page and completion are made: a line for each thing,
    /// fields divided by tabs.
    static QString description(const QString& version);
};
