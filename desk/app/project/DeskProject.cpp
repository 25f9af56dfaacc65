#include "DeskProject.h"

#include "DeskProjectFile.h"

#include <QFile>
#include <QFileInfo>

DeskProject::DeskProject(QObject* parent)
    : QObject(parent)
{
}

void DeskProject::create(const QString& path)
{
    emit aboutToReset();
    m_path = path;
    m_bins.clear();
    m_binOfClip.clear();
    m_activeBin.clear();
    m_more = QJsonObject();
    emit wasReset();
    setModified(false);
}

bool DeskProject::load(const QString& path, QString& error)
{
    QFile file(path);
    DeskProjectFile::Contents contents;
    QString reason;
    if (!file.open(QIODevice::ReadOnly))
        reason = file.errorString();
    else if (DeskProjectFile::fromBytes(file.readAll(), contents, reason))
        reason.clear();
    if (!reason.isEmpty()) {
        error = tr("The project %1 cannot be opened: %2.").arg(path, reason);
        return false;
    }
    emit aboutToReset();
    m_path = path;
    m_bins = contents.bins;
    m_activeBin = contents.activeBin;
    m_more = contents.more;
    rebuildIndex();
    emit wasReset();
    setModified(false);
    return true;
}

bool DeskProject::save(QString& error)
{
    QString reason;
    if (!DeskProjectFile::replaceFile(m_path, DeskProjectFile::toBytes({m_bins, m_activeBin, m_more}),
                                      reason)) {
        error = tr("The project %1 cannot be saved: %2.").arg(m_path, reason);
        return false;
    }
    setModified(false);
    return true;
}

bool DeskProject::saveAs(const QString& path, QString& error)
{
    const QString former = m_path;
    m_path = path;
    if (save(error))
        return true;
    m_path = former;
    return false;
}

QString DeskProject::name() const
{
    return QFileInfo(m_path).completeBaseName();
}

int DeskProject::binNamed(const QString& name)
{
    for (int bin = 0; bin < m_bins.size(); ++bin) {
        if (m_bins.at(bin).name == name)
            return bin;
    }
    const int bin = m_bins.size();
    emit binAboutToBeAdded(bin);
    DeskBin made;
    made.name = name;
    m_bins.append(made);
    emit binAdded(bin);
    setModified(true);
    return bin;
}

int DeskProject::activeBin()
{
    for (int bin = 0; bin < m_bins.size(); ++bin) {
        if (m_bins.at(bin).name == m_activeBin)
            return bin;
    }
    return m_bins.isEmpty() ? binNamed(name()) : 0;
}

void DeskProject::setActiveBin(int bin)
{
    m_activeBin = bin >= 0 && bin < m_bins.size() ? m_bins.at(bin).name : QString();
}

bool DeskProject::addClip(int bin, const DeskClip& clip)
{
    if (clip.id.isEmpty() || contains(clip.id) || bin < 0 || bin >= m_bins.size())
        return false;
    const int position = m_bins.at(bin).clips.size();
    emit clipAboutToBeAdded(bin, position);
    m_bins[bin].clips.append(clip);
    m_binOfClip.insert(clip.id, bin);
    emit clipAdded(bin, position);
    setModified(true);
    return true;
}

void DeskProject::setModified(bool modified)
{
    if (m_modified == modified)
        return;
    m_modified = modified;
    emit modifiedChanged(modified);
}

void DeskProject::rebuildIndex()
{
    m_binOfClip.clear();
    for (int bin = 0; bin < m_bins.size(); ++bin) {
        for (const DeskClip& clip : m_bins.at(bin).clips)
            m_binOfClip.insert(clip.id, bin);
    }
}
