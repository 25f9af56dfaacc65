#include "KRXFields.h"
#include "KRXTest.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QRadioButton>
#include <QSpinBox>

using namespace KRXFields;

namespace {

constexpr Choice kColours[] = {{"Red", nullptr, "RED"}, {"Green", nullptr, "GREEN"}};
constexpr Choice kSizes[] = {{"Small", nullptr, "S"}, {"Large", nullptr, "L"}};

QString spinText(const QSpinBox* box, const Field&)
{
    return QString::number(box->value());
}

void setSpin(QSpinBox* box, const Field&, const QString& text)
{
    box->setValue(text.toInt());
}

void addMaximum(const QWidget* root, const Field& field, QDomElement& element)
{
    element.setAttribute(QStringLiteral("max"), objectOf<QSpinBox>(root, field.element)->maximum());
}

/// A kind that only this test knows.
constexpr Kind kSpin = bind<QSpinBox, spinText, setSpin>(addMaximum);

bool isOn(const QWidget* root)
{
    return objectOf<QCheckBox>(root, "on")->isChecked();
}

constexpr Field kFields[] = {
    {"name", &kLineEdit, {}, nullptr, nullptr, isOn},
    {"on", &kCheck},
    {"ON", &kUpperCaseCheck},
    {"colour", &kRadios, {kColours}},
    {"size", &kRadios, {kSizes, 1}},
    {"text", &kComboText, {}, "textEnabled"},
    {"data", &kComboData},
    {"dataByText", &kComboDataByText},
    {"number", &kComboNumber},
    {"index", &kComboIndex},
    {"spin", &kSpin},
};
constexpr Section kSection = {"section", kFields};

constexpr Field kCrossed[] = {
    {"data", &kComboData, {}, nullptr, "text"},
    {"text", &kComboText, {}, nullptr, "data"},
};

/// A widget for each field.
struct World
{
    World()
    {
        name = make<QLineEdit>("name");
        on = make<QCheckBox>("on");
        upperOn = make<QCheckBox>("ON");
        textEnabled = make<QCheckBox>("textEnabled");
        colour = radios("colour");
        size = radios("size");
        for (QComboBox** box : {&text, &data, &number, &index, &dataByText}) {
            *box = new QComboBox(&root);
            (*box)->addItem(QStringLiteral("one"), 10);
            (*box)->addItem(QStringLiteral("two"), 20);
            (*box)->addItem(QStringLiteral("three"), 30);
        }
        text->setObjectName(QStringLiteral("text"));
        data->setObjectName(QStringLiteral("data"));
        number->setObjectName(QStringLiteral("number"));
        index->setObjectName(QStringLiteral("index"));
        // This one has no name; the panel around it has.
        auto* panel = new QWidget(&root);
        panel->setObjectName(QStringLiteral("dataByText"));
        dataByText->setParent(panel);
        spin = make<QSpinBox>("spin");
    }

    template <class Widget>
    Widget* make(const char* objectName)
    {
        auto* widget = new Widget(&root);
        widget->setObjectName(QLatin1String(objectName));
        return widget;
    }

    QButtonGroup* radios(const char* objectName)
    {
        auto* group = new QButtonGroup(&root);
        group->setObjectName(QLatin1String(objectName));
        for (int id = 0; id < 2; ++id)
            group->addButton(new QRadioButton(&root), id);
        return group;
    }

    QString written(Fields fields = kFields) const
    {
        QDomDocument document = KRXXml::makeDocument();
        QDomElement parent = document.createElement(QStringLiteral("section"));
        document.appendChild(parent);
        KRXFields::write(document, parent, fields, &root);
        return KRXXml::toText(document);
    }

    void read(const QString& inside, Fields fields = kFields)
    {
        QDomDocument document;
        QVERIFY(KRXXml::parse(QStringLiteral("<section>%1</section>").arg(inside), document));
        KRXFields::read(document.documentElement(), fields, &root);
    }

    QWidget root;
    QLineEdit* name;
    QCheckBox* on;
    QCheckBox* upperOn;
    QCheckBox* textEnabled;
    QButtonGroup* colour;
    QButtonGroup* size;
    QComboBox* text;
    QComboBox* data;
    QComboBox* dataByText;
    QComboBox* number;
    QComboBox* index;
    QSpinBox* spin;
};

} // namespace

/// Tables that tie widgets to elements.
class TestFields : public QObject
{
    Q_OBJECT

private slots:
    void aTableIsWrittenInItsOrder()
    {
        World world;
        world.on->setChecked(true);
        world.name->setText(QStringLiteral("a name"));
        world.upperOn->setChecked(true);
        world.colour->button(1)->setChecked(true);
        world.text->setCurrentIndex(1);
        world.data->setCurrentIndex(1);
        world.dataByText->setCurrentIndex(2);
        world.number->setCurrentIndex(2);
        world.index->setCurrentIndex(2);
        world.spin->setValue(7);
        KRX_COMPARE_XML(world.written(),
                        QStringLiteral("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<section>\n"
                                       " <name>a name</name>\n <on>true</on>\n <ON>TRUE</ON>\n"
                                       " <colour>GREEN</colour>\n <size></size>\n"
                                       " <text enabled=\"false\">two</text>\n <data>20</data>\n"
                                       " <dataByText>30</dataByText>\n <number>30</number>\n"
                                       " <index>3</index>\n <spin max=\"99\">7</spin>\n</section>\n"));
    }

    void aFieldThatIsNotWrittenAtPresentIsLeftOut()
    {
        World world;
        world.name->setText(QStringLiteral("a name"));
        QVERIFY(!world.written().contains(QLatin1String("<name>")));
        QVERIFY(world.written().contains(QLatin1String("<on>false</on>\n <ON>FALSE</ON>")));
    }

    void aTableIsReadByNameInAnyOrder()
    {
        World world;
        world.read(QStringLiteral("<spin>5</spin><index>2</index><number>30</number><data>20</data>"
                                  "<dataByText>three</dataByText><text enabled=\"true\">Two</text>"
                                  "<size>S</size><colour>GREEN</colour><ON>true</ON><on>true</on>"
                                  "<name>read</name><unknown>x</unknown>"));
        QCOMPARE(world.name->text(), QStringLiteral("read"));
        QVERIFY(world.on->isChecked());
        QVERIFY(world.upperOn->isChecked());
        QCOMPARE(world.colour->checkedId(), 1);
        QCOMPARE(world.size->checkedId(), 0);
        QCOMPARE(world.text->currentIndex(), 1);
        QVERIFY(world.textEnabled->isChecked());
        QCOMPARE(world.data->currentIndex(), 1);
        QCOMPARE(world.dataByText->currentIndex(), 2);
        QCOMPARE(world.number->currentIndex(), 2);
        QCOMPARE(world.index->currentIndex(), 1);
        QCOMPARE(world.spin->value(), 5);
    }

    void whatFitsNothingIsReadAsItsKindSays()
    {
        World world;
        world.on->setChecked(true);
        world.upperOn->setChecked(true);
        world.colour->button(1)->setChecked(true);
        world.textEnabled->setChecked(true);
        for (QComboBox* box : {world.text, world.data, world.dataByText, world.number, world.index})
            box->setCurrentIndex(2);
        world.read(
            QStringLiteral("<on>TRUE</on><ON>TRUE</ON><colour>BLUE</colour><size>M</size><text>x</text>"
                           "<data>two</data><dataByText>20</dataByText><number>-20</number>"
                           "<index>4</index>"));
        QVERIFY(!world.on->isChecked());
        QVERIFY(!world.upperOn->isChecked());
        QCOMPARE(world.colour->checkedId(), 1);
        QCOMPARE(world.size->checkedId(), 1);
        QVERIFY(!world.textEnabled->isChecked());
        QCOMPARE(world.text->currentIndex(), 0);
        QCOMPARE(world.data->currentIndex(), 0);
        QCOMPARE(world.dataByText->currentIndex(), 0);
        QCOMPARE(world.number->currentIndex(), 0);
        QCOMPARE(world.index->currentIndex(), -1);
    }

    void namesAreComparedExactly()
    {
        World world;
        world.read(QStringLiteral("<Name>x</Name><NAME>x</NAME><section><name>x</name></section>"));
        QCOMPARE(world.name->text(), QString());
    }

    void aRepeatedChildOverwritesTheEarlierOne()
    {
        World world;
        world.read(QStringLiteral("<name>one</name><on>true</on><name>two</name><on>no</on>"));
        QCOMPARE(world.name->text(), QStringLiteral("two"));
        QVERIFY(!world.on->isChecked());
    }

    void aFieldCanBeWrittenFromAnotherWidgetThanItIsReadTo()
    {
        World world;
        world.text->setCurrentIndex(1);
        world.data->setCurrentIndex(2);
        KRX_COMPARE_XML(world.written(kCrossed),
                        QStringLiteral("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<section>\n"
                                       " <data>20</data>\n <text>three</text>\n</section>\n"));
        world.read(QStringLiteral("<data>30</data><text>one</text>"), kCrossed);
        QCOMPARE(world.data->currentIndex(), 2);
        QCOMPARE(world.text->currentIndex(), 0);
    }

    void theFirstSectionAnywhereBelowIsRead()
    {
        World world;
        QDomDocument document;
        QVERIFY(KRXXml::parse(QStringLiteral("<a><b><section><name>one</name></section></b>"
                                             "<section><name>two</name></section></a>"),
                              document));
        readSection(document.documentElement(), kSection, &world.root);
        QCOMPARE(world.name->text(), QStringLiteral("one"));
        readSection(QDomElement(), kSection, &world.root);
        QCOMPARE(world.name->text(), QStringLiteral("one"));
        QCOMPARE(textOf(findSection(document, kSection), kFields[0]), QStringLiteral("one"));
        QCOMPARE(textOf(QDomElement(), kFields[0]), QString());
    }

    void aSectionIsAppendedBehindWhatIsThere()
    {
        World world;
        QDomDocument document;
        QVERIFY(KRXXml::parse(QStringLiteral("<a><b/></a>"), document));
        QDomElement parent = document.documentElement();
        const QDomElement section = appendSection(document, parent, kSection, &world.root);
        QCOMPARE(parent.lastChildElement().tagName(), QStringLiteral("section"));
        QCOMPARE(section.parentNode().toElement().tagName(), QStringLiteral("a"));
        QCOMPARE(section.childNodes().count(), 10);
    }
};

QTEST_MAIN(TestFields)
#include "test_fields.moc"
