#include <QVRoot/MemoryManagement/ByteSearchImpl.hpp>

#include <bit>
#include <cstring>

#include <emmintrin.h>

namespace QV::Impl {

namespace {

using std::string_view;

constexpr size_t Step = 16;

/// The first byte of a pattern and one more that sets it apart.
class Anchors {
public:
    explicit Anchors(string_view pattern) noexcept
        : distance_(GetDistance(pattern)), first_(_mm_set1_epi8(pattern.front())),
          second_(_mm_set1_epi8(pattern[distance_]))
    {
    }

    size_t GetDistance() const noexcept { return distance_; }

    /// One bit for each of the 16 starts where both bytes are in place.
    unsigned Match(const char* bytes) const noexcept
    {
        const __m128i firsts = _mm_cmpeq_epi8(Load(bytes), first_);
        const __m128i seconds = _mm_cmpeq_epi8(Load(bytes + distance_), second_);
        return static_cast<unsigned>(_mm_movemask_epi8(_mm_and_si128(firsts, seconds)));
    }

private:
    /// Runs of one byte are common in data: an equal second byte would tell little.
    static size_t GetDistance(string_view pattern) noexcept
    {
        const size_t different = pattern.find_last_not_of(pattern.front());
        return different == string_view::npos ? pattern.size() - 1 : different;
    }

    static __m128i Load(const char* bytes) noexcept
    {
        return _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes));
    }

    size_t distance_;
    __m128i first_;
    __m128i second_;
};

} // namespace

size_t FindBytes(string_view bytes, string_view pattern) noexcept
{
    const Anchors anchors(pattern);
    size_t start = 0;
    for (; start + anchors.GetDistance() + Step <= bytes.size(); start += Step) {
        for (unsigned matches = anchors.Match(bytes.data() + start); matches != 0; matches &= matches - 1) {
            const size_t candidate = start + static_cast<size_t>(std::countr_zero(matches));
            if (bytes.substr(candidate).starts_with(pattern)) {
                return candidate;
            }
        }
    }
    return bytes.find(pattern, start);
}

} // namespace QV::Impl
