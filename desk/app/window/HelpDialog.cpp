#include "HelpDialog.h"

#include <QCoreApplication>
#include <QTextBrowser>
#include <QVBoxLayout>

namespace {

constexpr int kWidth = 520;
constexpr int kHeight = 420;
constexpr char kContext[] = "HelpDialog";

struct Topic
{
    QLatin1String name;
    const char* text;
};

const Topic kTopics[] = {
    {QLatin1String("IDH_ProfileEditor_Window"),
     QT_TRANSLATE_NOOP(
         "HelpDialog",
         "<h3>Profile Editor</h3>"
         "<p>A profile says what happens to the files of a watched folder: how their clips are linked, "
         "into which bin they go, and which actions the service runs before.</p>"
         "<p><b>Settings.</b> <i>Bins</i> names the bin. <i>Link Options</i> groups audio tracks and sets "
         "the rates for Broadcast Wave files and still images.</p>"
         "<p><b>Actions.</b> \"+\" adds one, \"-\" removes the selected one, dragging a title changes the "
         "order. Ctrl+Z brings a removed action back.</p>"
         "<p><b>Save</b> always makes a new profile; folders keep theirs until another is chosen for "
         "them. Deleting a profile gives its folders the default profile and disables them.</p>")},
    {QLatin1String(""),
     QT_TRANSLATE_NOOP(
         "HelpDialog",
         "<h3>KRX Desk</h3>"
         "<p><b>Watch a folder.</b> \"+\" adds a folder with the profile that the box shows. Tick "
         "<i>Enable</i>, and the service works on whatever is dropped there.</p>"
         "<p><b>Acquire.</b> A folder with clips to acquire shows an icon in its first column. A click on "
         "it takes the clips into the bin that the profile names.</p>"
         "<p><b>Change a profile.</b> Choose another one in the box, or click on the profile of a "
         "selected row. <i>Profile Editor</i> makes new ones.</p>"
         "<p><b>Single files.</b> <i>File &gt; Link Media with a Profile</i> takes files that lie in no "
         "watched folder.</p>"
         "<p><b>The service.</b> <i>Service &gt; Services Manager</i> shows its jobs and messages. A "
         "service that the desk started ends with the desk.</p>")},
};

} // namespace

HelpDialog::HelpDialog(QWidget* parent)
    : QDialog(parent)
    , m_text(new QTextBrowser(this))
{
    setObjectName(QStringLiteral("helpDialog"));
    setWindowTitle(tr("Help"));
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_text);
    resize(kWidth, kHeight);
}

void HelpDialog::showTopic(const QString& topic)
{
    const Topic* shown = nullptr;
    for (const Topic& known : kTopics) {
        shown = &known;
        if (known.name == topic)
            break;
    }
    m_text->setHtml(QCoreApplication::translate(kContext, shown->text));
}
