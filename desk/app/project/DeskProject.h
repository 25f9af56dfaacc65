#pragma once

#include "DeskApi.h"

#include <QDateTime>
#include <QHash>
#include <QJsonObject>
#include <QObject>
#include <QString>
#include <QVector>

/// One clip that was acquired.
struct DeskClip
{
    /// The unique id of the output that the clip was made from; what tells one clip from another.
    QString id;
    QString name;
    /// "video", "audio", "image", "sequence" or empty when not known.
    QString kind;
    /// Length in seconds; negative when not known.
    double duration = -1;
    /// The file that the clip plays.
    QString media;
    /// The file that was dropped into the watched folder.
    QString source;
    /// The link document that the clip came with.
    QString linkDocument;
    /// Whether the service compared the media with their source, byte for byte.
    bool checked = false;
    /// Timecode of the first frame, and the reel; empty when not known.
    QString start;
    QString reel;
    /// What else the link document says of it, in lines.
    QString details;
    QDateTime acquired;
    /// What the project file says of the clip beyond the fields above; written back as it was.
    QJsonObject more;
};

struct DeskBin
{
    QString name;
    QVector<DeskClip> clips;
    QJsonObject more;
};

/// The bins of one project and the file that holds them.
/// The file is replaced as a whole and only by a complete one, so that a crash leaves the old or the new
/// state.
class KRX_DESK_API DeskProject : public QObject
{
    Q_OBJECT

public:
    explicit DeskProject(QObject* parent = nullptr);

    /// Starts an empty project that will be saved as \a path. Nothing is written yet.
    void create(const QString& path);
    /// Reads the project file. \return false with a text in \a error and the project as it was.
    bool load(const QString& path, QString& error);
    /// Writes the project file. \return false with a text in \a error; the file is then as it was.
    bool save(QString& error);
    /// Writes the project under another path from now on. On failure the old path stays.
    bool saveAs(const QString& path, QString& error);

    QString path() const { return m_path; }
    /// The name that a person knows the project by: the file's name without its suffix.
    QString name() const;
    /// Whether there is something that the file does not hold yet.
    bool isModified() const { return m_modified; }

    const QVector<DeskBin>& bins() const { return m_bins; }
    /// Number of clips in all bins.
    int clipCount() const { return m_binOfClip.size(); }
    /// Whether a clip with that id is in some bin.
    bool contains(const QString& clipId) const { return m_binOfClip.contains(clipId); }

    /// Position of the bin with that name (exact); the bin is made when there is none.
    int binNamed(const QString& name);
    /// Position of the bin that clips go to when a profile asks for the active one: the bin last chosen, else
    /// the first one, else a new bin with the project's name.
    int activeBin();
    /// Makes a bin the active one; a position outside the list makes none active. The choice goes into the
    /// file with the next save, but is no change that a person would want to be asked about.
    void setActiveBin(int bin);
    /// Adds a clip at the end of a bin. \return false, and nothing changes, when its id is known already.
    bool addClip(int bin, const DeskClip& clip);

signals:
    void aboutToReset();
    void wasReset();
    void binAboutToBeAdded(int bin);
    void binAdded(int bin);
    void clipAboutToBeAdded(int bin, int clip);
    void clipAdded(int bin, int clip);
    void modifiedChanged(bool modified);

private:
    void setModified(bool modified);
    void rebuildIndex();

    QString m_path;
    QVector<DeskBin> m_bins;
    QHash<QString, int> m_binOfClip;
    QString m_activeBin;
    QJsonObject m_more;
    bool m_modified = false;
};
