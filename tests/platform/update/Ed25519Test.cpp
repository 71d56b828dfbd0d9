#include "platform/update/Ed25519.h"

#include <gtest/gtest.h>

namespace corvella {
namespace {

// The second test of RFC 8032, section 7.1: a message of the one byte 0x72.
const QByteArray kKey =
    QByteArray::fromHex("3d4017c3e843895a92b70aa74d1b7ebc9c982ccf2ec4968cc0cd55f12af4660c");
const QByteArray kSignatureOfMessage =
    QByteArray::fromHex("92a009a9f0d4cab8720e820b5f642540a2b27b5416503f8fb3762223ebdb69da"
                        "085ac1e43e15996e458f3613d0f11d8c387b2eaeb4302aeeb00d291612bb0c00");

bool verifies(const QByteArray &signature, unsigned char message)
{
    const auto key = PublicKey::parse(kKey.toBase64());
    const auto parsed = parseSignature(signature.toBase64());
    return key && parsed && key->verifies(*parsed, {&message, 1});
}

TEST(Ed25519, AcceptsWhatTheHolderOfTheKeySigned)
{
    EXPECT_TRUE(verifies(kSignatureOfMessage, 0x72));
}

TEST(Ed25519, RefusesEveryOtherMessageAndSignature)
{
    EXPECT_FALSE(verifies(kSignatureOfMessage, 0x73));
    for (qsizetype bit = 0; bit < kSignatureOfMessage.size() * 8; ++bit) {
        QByteArray changed = kSignatureOfMessage;
        changed[bit / 8] = static_cast<char>(changed[bit / 8] ^ (1 << (bit % 8)));
        EXPECT_FALSE(verifies(changed, 0x72)) << bit;
    }
}

TEST(Ed25519, ReadsBase64InOneWayOnly)
{
    const QByteArray key = kKey.toBase64();
    EXPECT_TRUE(PublicKey::parse(key));
    EXPECT_FALSE(PublicKey::parse({}));
    EXPECT_FALSE(PublicKey::parse(QByteArray(key).append('\n')));
    EXPECT_FALSE(PublicKey::parse(QByteArray(key).prepend(' ')));
    EXPECT_FALSE(PublicKey::parse(key.chopped(1))); // without its padding
    EXPECT_FALSE(PublicKey::parse(kKey.chopped(1).toBase64()));
    EXPECT_FALSE(PublicKey::parse(QByteArray(kKey).append('x').toBase64()));
    EXPECT_FALSE(PublicKey::parse(kKey.toHex()));
    const QByteArray signature = kSignatureOfMessage.toBase64();
    EXPECT_TRUE(parseSignature(signature));
    EXPECT_FALSE(parseSignature(kKey.toBase64()));
    // The last character before the padding has bits that stand for nothing.
    QByteArray unused = signature;
    unused[unused.size() - 3] = 'B';
    EXPECT_EQ(signature[signature.size() - 3], 'A');
    EXPECT_FALSE(parseSignature(unused));
}

} // namespace
} // namespace corvella
