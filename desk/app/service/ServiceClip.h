#pragma once

#include "ClockReading.h"
#include "DeskApi.h"

#include <QDeadlineTimer>
#include <QMetaType>
#include <QString>
#include <QStringList>
#include <QVector>

/// Where a clip is on its way, in the order of the service's words. What somebody cancelled is a failure to
/// the service and none to people.
enum class ClipState {
    Found,
    Growing,
    Open,
    Settling,
    Waiting,
    Acting,
    Publishing,
    Offered,
    Taken,
    Failed,
    Rejected,
    Gone,
    Cancelled
};

/// A clip as the service tells it.
struct ServiceClip
{
    QString id;
    QString name;
    QString path;
    QString folderId; ///< empty for a clip of a manual job
    QString jobId;    ///< of the manual job it belongs to; empty for a clip of a folder
    QString profileId;
    ClipState state = ClipState::Found;
    QString reason;
    QString guid;     ///< of its output document, which stays; empty before the work began
    QString shownBy;  ///< id of the job that shows the work on it; empty without one
    QString activity; ///< the name of the action that runs, failed or waits
    int percent = 0;
    /// By the steady clock, and unknown when it lies before the start of the service.
    qint64 since = ClockReading::kUnknown;
    qint64 started = ClockReading::kUnknown; ///< the same way
    qint64 took = -1;                        ///< milliseconds that the work took; negative when nobody knows
    /// Until it has stood still for long enough, on a clock that nobody sets; for ever when it does not
    /// settle.
    QDeadlineTimer settles{QDeadlineTimer::Forever};

    /// The job to be cancelled or submitted again.
    QString job() const { return shownBy.isEmpty() ? jobId : shownBy; }
    bool isOver() const { return state >= ClipState::Offered; }
    /// Neither ready nor with the editor.
    bool isNotReady() const { return state != ClipState::Offered && state != ClipState::Taken; }
};

/// News of clips, in the order in which they were first heard of.
struct ClipNews
{
    bool isWhole = false; ///< these are all; otherwise those that changed
    QVector<ServiceClip> clips;
    int known = 0; ///< how many there are now
};
Q_DECLARE_METATYPE(ClipNews)

namespace serviceclip {

/// Reads a "clipList" that came at the moment \a now. \return false when \a body is none. \param version
/// receives what to give the next time.
bool read(const QByteArray& body, ClipNews& news, int& total, quint64& version,
          const ClockReading& now = ClockReading::now());
/// The words of the service, for people.
KRX_DESK_API QString text(ClipState state);

} // namespace serviceclip
