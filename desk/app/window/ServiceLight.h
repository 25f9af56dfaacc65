#pragma once

#include <QLabel>

class ServiceFollower;

/// How the service is, in the status bar: a coloured dot and a word or two.
class ServiceLight : public QLabel
{
    Q_OBJECT

public:
    /// \param service must outlive the light.
    explicit ServiceLight(ServiceFollower& service, QWidget* parent = nullptr);

signals:
    /// Something that a person should know.
    void message(const QString& text);

private:
    void refresh();
    void tellPortHolder(const QString& user);

    ServiceFollower& m_service;
    QString m_toldHolder;
};
