#pragma once

#include "ActivityTables.h"
#include "KRXFields.h"

#include <QDomDocument>
#include <QDomElement>
#include <QString>

#include <memory>

/// One row of the profile summary: reads its part of the document when it is made.
class IKRXSummaryRow
{
public:
    virtual ~IKRXSummaryRow() = default;
    /// The row's detail text, localised.
    virtual QString detail() const = 0;
};

/// Where clips are put.
class KRXSummaryBinsRow : public IKRXSummaryRow
{
public:
    explicit KRXSummaryBinsRow(const QDomDocument& doc);
    QString detail() const override;

private:
    QString m_selection;
    /// The row of the choice of namings.
    int m_naming = KRXFields::kKeepWhenUnknown;
    QString m_explicitName;
};

/// How clips are linked.
class KRXSummaryLinkRow : public IKRXSummaryRow
{
public:
    explicit KRXSummaryLinkRow(const QDomDocument& doc);
    QString detail() const override;

private:
    QString m_grouping;
    QString m_audioStartTime;
    QString m_plugin;
};

/// What a copy action does.
class KRXSummaryCopyRow : public IKRXSummaryRow
{
public:
    explicit KRXSummaryCopyRow(const QDomElement& activity);
    QString detail() const override;

private:
    QString m_path;
    QString m_relink;
    QString m_checkIn;
};

/// The audio conversions that a transcode or consolidate action has switched on.
class KRXSummaryAudio
{
public:
    explicit KRXSummaryAudio(const QDomElement& activity);
    /// One line for each conversion that is on.
    QString lines() const;

private:
    /// By the rows of the audio fields; empty for what is off.
    QString m_values[ActivityTables::AudioFieldCount];
};

/// What a transcode action does.
class KRXSummaryTranscodeRow : public IKRXSummaryRow
{
public:
    explicit KRXSummaryTranscodeRow(const QDomElement& activity);
    QString detail() const override;

private:
    QString m_videoVolume;
    QString m_audioVolume;
    QString m_compression;
    QString m_reformat;
    QString m_colour;
    KRXSummaryAudio m_audio;
};

/// What a consolidate action does.
class KRXSummaryConsolidateRow : public IKRXSummaryRow
{
public:
    explicit KRXSummaryConsolidateRow(const QDomElement& activity);
    QString detail() const override;

private:
    QString m_skip;
    QString m_relinkSkipped;
    KRXSummaryAudio m_audio;
};

/// The row for an activity by its id; null for an id that the summary does not know.
std::unique_ptr<IKRXSummaryRow> makeSummaryRow(const QDomElement& activity);
