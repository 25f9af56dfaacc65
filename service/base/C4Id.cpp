#include "base/C4Id.h"

#include <QByteArray>
#include <QCryptographicHash>

#include <algorithm>
#include <cstddef>

namespace krxservice {

namespace {

constexpr char kDigits[] = "123456789ABCDEFGHJKLMNPQRSTUVWXYZabcdefghijkmnopqrstuvwxyz";
constexpr unsigned kBase = 58;
constexpr std::size_t kLength = 88; ///< digits of the largest number

} // namespace

std::string c4Id(const std::string& bytes)
{
    QCryptographicHash hash(QCryptographicHash::Sha512);
    for (std::size_t at = 0; at < bytes.size();) {
        // Lengths are int there.
        const std::size_t piece = std::min<std::size_t>(bytes.size() - at, std::size_t{1} << 30);
        hash.addData(bytes.data() + at, static_cast<int>(piece));
        at += piece;
    }
    QByteArray number = hash.result();
    std::string digits(kLength, kDigits[0]);
    for (std::size_t i = kLength; i-- > 0;) {
        unsigned rest = 0;
        for (char& byte : number) {
            const unsigned value = rest * 256 + static_cast<unsigned char>(byte);
            byte = static_cast<char>(value / kBase);
            rest = value % kBase;
        }
        digits[i] = kDigits[rest];
    }
    return "c4" + digits;
}

} // namespace krxservice
