// Signatures that only the holder of one key can make (Ed25519, RFC 8032). Pure functions; any
// thread.
#pragma once

#include <QByteArray>

#include <array>
#include <cstddef>
#include <optional>
#include <span>

namespace corvella {

using Signature = std::array<unsigned char, 64>;

// Reads base64 of exactly 64 bytes, in the one way in which they are written.
[[nodiscard]] std::optional<Signature> parseSignature(const QByteArray &base64);

class PublicKey
{
public:
    // Reads base64 of exactly 32 bytes, in the one way in which they are written.
    [[nodiscard]] static std::optional<PublicKey> parse(const QByteArray &base64);

    // Whether the holder of the key signed exactly these bytes.
    [[nodiscard]] bool verifies(const Signature &signature,
                                std::span<const unsigned char> bytes) const;

private:
    std::array<unsigned char, 32> m_bytes = {};
};

} // namespace corvella
