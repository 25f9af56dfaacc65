#pragma once

#include "IKRXXelSettings.h"
#include "KRXTest.h"
#include "KRXXml.h"

#include <QAbstractButton>
#include <QComboBox>
#include <QLabel>
#include <QLayout>
#include <QWidget>

#include <memory>
#include <stdexcept>

/// What the tests of the link-settings groups share.
namespace SettingsTest {

/// The document that a group writes: "profileSettings" around \a inside, which is indented for it.
inline QString settingsDocument(const QString& inside)
{
    return inside.isEmpty()
        ? QStringLiteral("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<profileSettings/>\n")
        : QStringLiteral("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<profileSettings>\n%1</profileSettings>\n")
              .arg(inside);
}

/// Parses a text that must be XML.
inline QDomDocument parsed(const QString& text)
{
    QDomDocument document;
    if (!KRXXml::parse(text, document))
        throw std::runtime_error("the test's own XML is not well-formed");
    return document;
}

/// A group with its widget, which it outlives.
template <class Group>
struct Fixture
{
    Fixture()
        : widget(group.createWidget())
    {
    }

    /// The whole document after the group wrote into an empty "profileSettings".
    QString written()
    {
        QDomDocument document = KRXXml::makeDocument();
        QDomElement root = document.createElement(QStringLiteral("profileSettings"));
        document.appendChild(root);
        group.writeXml(&document, root);
        return KRXXml::toText(document);
    }

    /// Reads \a inside as the content of "profileSettings".
    void read(const QString& inside)
    {
        group.readXml(
            parsed(QStringLiteral("<profileSettings>%1</profileSettings>").arg(inside)).documentElement());
    }

    /// The button with that text below the widget of that name (the group's own when empty).
    QAbstractButton* button(const QString& text, const QString& panel = QString()) const
    {
        const QWidget* root = panel.isEmpty() ? widget.get() : widget->findChild<QWidget*>(panel);
        for (QAbstractButton* candidate : root->findChildren<QAbstractButton*>()) {
            if (candidate->text() == text)
                return candidate;
        }
        throw std::runtime_error("no such button: " + text.toStdString());
    }

    bool isChecked(const QString& text, const QString& panel = QString()) const
    {
        return button(text, panel)->isChecked();
    }

    void check(const QString& text, const QString& panel = QString()) { button(text, panel)->click(); }

    /// The texts of all labels, in the order in which they were made.
    QStringList labels() const
    {
        QStringList texts;
        for (const QLabel* label : widget->findChildren<QLabel*>())
            texts << label->text();
        return texts;
    }

    Group group;
    std::unique_ptr<QWidget> widget;
};

/// What no reader may stumble over: documents that hold nothing for \a element, or nonsense.
inline QStringList hostileContents(const QString& element)
{
    const QString tag = QStringLiteral("<%1>%2</%1>");
    const QString upper = element.toUpper();
    return {
        QString(),
        QStringLiteral("<other><child/></other>"),
        QStringLiteral("<%1/>").arg(element),
        tag.arg(element, QStringLiteral("text alone")),
        tag.arg(element, QStringLiteral("<unknown>x</unknown><!-- comment --><![CDATA[data]]>")),
        tag.arg(upper, QStringLiteral("<binSelectionMethod>USEACTIVE</binSelectionMethod>")),
    };
}

} // namespace SettingsTest
