#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QVector>

/// What a profile would do to a file, as the service foretells it.
struct Rehearsal
{
    enum class Verdict { WillDo, WillSkip, Cannot };

    struct Result
    {
        QString path;
        qint64 bytes = -1; ///< negative when it is not known
    };
    struct Step
    {
        QString name;
        Verdict verdict = Verdict::Cannot;
        QString reason;
        QVector<Result> results;
        double seconds = -1; ///< negative when nobody knows
    };

    QString path;
    QString reason;    ///< why it would not be offered; empty when it would be
    QString clip;      ///< the clip's name
    QStringList facts; ///< what is known of it, and notes
    QVector<Step> steps;

    /// \return false when \a body is no such document.
    static bool read(const QByteArray& body, Rehearsal& run);
    /// The document that asks for one.
    static QByteArray request(const QString& path);
};
