// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/protocol/Protocol.h"
#include "testing/TestMain.h"

using namespace decoder;

/// What both sides of the socket agree on, as far as no lying decoder of the client's tests shows it.
class ProtocolTest : public QObject {
    Q_OBJECT

 private Q_SLOTS:
    void textsComeBack() {
        const Texts texts{
            {"Thumb::URI", "file:///a"}, {"empty", ""}, {"", "keyless"}, {"bytes", QByteArray("\0\xff", 2)}};
        QCOMPARE(unpackTexts(packTexts(texts)), std::optional(texts));
        QCOMPARE(unpackTexts({}), std::optional(Texts()));
    }

    void textsKeepTheirBounds() {
        Texts texts{{"long", QByteArray(kMaximumTextBytes, 'x')}};
        QCOMPARE(unpackTexts(packTexts(texts)), std::optional(Texts()));
        for (int i = 0; i < 100; ++i)
            texts.insert(QByteArray::number(i), "text");
        const auto packed = unpackTexts(packTexts(texts));
        QVERIFY(packed);
        QCOMPARE(std::size_t(packed->size()), kMaximumTexts);
    }

    void cutTextsAreRefused() {
        const QByteArray whole = packTexts({{"key", "value"}});
        for (qsizetype length = 1; length < whole.size(); ++length)
            QVERIFY(!unpackTexts(QByteArrayView(whole).first(length)));
        QVERIFY(!unpackTexts(whole + '\0'));
    }
};

TAVLIN_TEST_MAIN(QCoreApplication, ProtocolTest)
#include "ProtocolTest.moc"
