#pragma once

#include "IKRXXelSettings.h"
#include "KRXTest.h"
#include "KRXXml.h"

#include <QAbstractButton>
#include <QComboBox>
#include <QLabel>
#include <QLayout>
#include <QList>
#include <QPixmap>
#include <QRect>
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
               : QStringLiteral(
                     "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<profileSettings>\n%1</profileSettings>\n")
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

    /// Reads \a inside as it stands deep inside of another element of "profileSettings".
    void readDeep(const QString& inside) { read(QStringLiteral("<x><y>%1</y></x>").arg(inside)); }

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

    /// Where a widget of the group stands in the group's own coordinates, once everything is laid out.
    QRect place(const QWidget* child) const
    {
        widget->adjustSize();
        // Rendering lays out what has not been shown yet.
        widget->grab();
        return QRect(child->mapTo(widget.get(), QPoint()), child->size());
    }

    /// Whether the widgets stand below each other in that order.
    bool standBelowEachOther(const QList<QWidget*>& column) const
    {
        for (int i = 1; i < column.size(); ++i) {
            if (place(column.at(i)).top() <= place(column.at(i - 1)).bottom())
                return false;
        }
        return true;
    }

    /// Whether the widgets stand side by side in that order, in one row.
    bool standSideBySide(const QList<QWidget*>& row) const
    {
        for (int i = 1; i < row.size(); ++i) {
            const QRect left = place(row.at(i - 1));
            const QRect right = place(row.at(i));
            if (right.left() <= left.right() || right.top() > left.bottom() || left.top() > right.bottom())
                return false;
        }
        return true;
    }

    /// The label with that text.
    QLabel* labelOf(const QString& text) const
    {
        for (QLabel* label : widget->findChildren<QLabel*>()) {
            if (label->text() == text)
                return label;
        }
        throw std::runtime_error("no such label: " + text.toStdString());
    }

    Group group;
    std::unique_ptr<QWidget> widget;
};

/// Verifies where a group writes into the element that the plug-in and the link options share: into the first
/// one that is a direct child, behind what is there, and at the end of the whole.
/// \param inside what the group writes into it, as a text with its indent.
template <class Group>
void verifyLinkDetailIsShared(Fixture<Group>& fixture, const QString& inside)
{
    const QString detail = QStringLiteral(" <linkDetail>\n%1 </linkDetail>\n").arg(inside);
    const QString filled = QStringLiteral(" <linkDetail>\n  <kept/>\n%1 </linkDetail>\n").arg(inside);
    const struct
    {
        QString before;
        QString after;
    } cases[] = {
        {QString(), detail},
        {QStringLiteral("<linkDetail><kept/></linkDetail><binDetail/>"),
         QStringLiteral(" <binDetail/>\n") + filled},
        {QStringLiteral("<linkDetail><kept/></linkDetail><binDetail/><linkDetail/>"),
         QStringLiteral(" <binDetail/>\n <linkDetail/>\n") + filled},
        {QStringLiteral("<other><linkDetail/></other>"),
         QStringLiteral(" <other>\n  <linkDetail/>\n </other>\n") + detail},
    };
    for (const auto& entry : cases) {
        QDomDocument document =
            parsed(QStringLiteral("<profileSettings>%1</profileSettings>").arg(entry.before));
        QDomElement root = document.documentElement();
        fixture.group.writeXml(&document, root);
        KRX_COMPARE_XML(KRXXml::toText(document),
                        QStringLiteral("<profileSettings>\n%1</profileSettings>\n").arg(entry.after));
    }
}

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
