#pragma once

#include "HostRecorder.h"

#include <QDomDocument>
#include <QString>
#include <QTest>

#include <cstddef>

/// What the tests of all areas share.
namespace KRXTest {

/// \a xml with the attributes of every element in order of their names, everything else letter for letter.
/// QDom writes attributes in an order that changes from process to process, so documents are compared whole
/// in this form.
QString withSortedAttributes(const QString& xml);

namespace literals {

/// "text"_s is a QString.
inline QString operator""_s(const char* text, std::size_t length)
{
    return QString::fromUtf8(text, static_cast<int>(length));
}

} // namespace literals

} // namespace KRXTest

/// Compares two whole documents as texts, with attributes as sets.
#define KRX_COMPARE_XML(actual, expected)                                                                    \
    QCOMPARE(KRXTest::withSortedAttributes(actual), KRXTest::withSortedAttributes(expected))
