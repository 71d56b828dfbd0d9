#include "platform/update/Ed25519.h"

#include <algorithm>
#include <sodium.h>

namespace corvella {

namespace {

template <size_t Size>
std::optional<std::array<unsigned char, Size>> fromBase64(const QByteArray &text)
{
    const auto decoded =
        QByteArray::fromBase64Encoding(text, QByteArray::AbortOnBase64DecodingErrors);
    // Several texts stand for the same bytes; one is enough.
    if (!decoded || decoded.decoded.size() != qsizetype(Size) || decoded.decoded.toBase64() != text)
        return std::nullopt;
    std::array<unsigned char, Size> bytes;
    std::copy(decoded.decoded.cbegin(), decoded.decoded.cend(), bytes.begin());
    return bytes;
}

} // namespace

std::optional<Signature> parseSignature(const QByteArray &base64)
{
    static_assert(std::tuple_size_v<Signature> == crypto_sign_BYTES);
    return fromBase64<std::tuple_size_v<Signature>>(base64);
}

std::optional<PublicKey> PublicKey::parse(const QByteArray &base64)
{
    static_assert(sizeof m_bytes == crypto_sign_PUBLICKEYBYTES);
    const auto bytes = fromBase64<sizeof m_bytes>(base64);
    if (!bytes)
        return std::nullopt;
    PublicKey key;
    key.m_bytes = *bytes;
    return key;
}

bool PublicKey::verifies(const Signature &signature, std::span<const unsigned char> bytes) const
{
    return crypto_sign_verify_detached(signature.data(), bytes.data(), bytes.size(), m_bytes.data())
        == 0;
}

} // namespace corvella
