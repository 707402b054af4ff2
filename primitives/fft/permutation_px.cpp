// Bit-reversed order, px build. An index is read as top bit, middle bits, bottom bit: the table
// reverses the middle ones, and the outer two trade places by a fixed pattern. What does not fit
// the nearest cache is moved tile by tile, with more than one bit at the top and at the bottom.
#include "primitives/fft/permutation.h"

#include "primitives/fft/moved_complex.h"

namespace zr::primitives::px {
namespace {

template <typename Words>
void Exchange(Words* z, int32_t i, int32_t j) {
  const Words words = Load(z, i);
  Store<Words>(z, i, Load(z, j));
  Store<Words>(z, j, words);
}

template <typename Words>
void PermuteInPlace(Words* z, int32_t n, const int32_t* entry) {
  const int32_t half = n / 2;
  for (; *entry != 0; entry += 2) {
    const int32_t a = entry[0] / 2;
    const int32_t b = entry[1] / 2;
    Exchange(z, a, b);
    Exchange(z, a + 1, half + b);
    Exchange(z, half + a, b + 1);
    Exchange(z, half + a + 1, half + b + 1);
  }
  Exchange(z, 1, half);
  for (++entry; *entry != 0; ++entry) {
    const int32_t a = *entry / 2;
    Exchange(z, a + 1, half + a);
  }
}

template <typename Words>
void PermuteApart(const Words* __restrict source, Words* __restrict destination, int32_t n,
                  const int32_t* entry) {
  const int32_t half = n / 2;
  const auto move = [=](int32_t to, int32_t from) {
    Store<Words>(destination, to, Load(source, from));
  };
  const auto moveSelfReversed = [=](int32_t a) {
    move(a, a);
    move(a + 1, half + a);
    move(half + a, a + 1);
    move(half + a + 1, half + a + 1);
  };
  for (; *entry != 0; entry += 2) {
    const int32_t a = entry[0] / 2;
    const int32_t b = entry[1] / 2;
    move(a, b);
    move(a + 1, half + b);
    move(half + a, b + 1);
    move(half + a + 1, half + b + 1);
    move(b, a);
    move(half + b, a + 1);
    move(b + 1, half + a);
    move(half + b + 1, half + a + 1);
  }
  moveSelfReversed(0);
  for (++entry; *entry != 0; ++entry)
    moveSelfReversed(*entry / 2);
}

// A square of numbers: from each of kTileSide equal parts of the vector as many neighbours as are
// one line of the cache.
constexpr int32_t kLineBytes = 64;
template <typename Words>
constexpr int32_t kTileSide = kLineBytes / static_cast<int32_t>(sizeof(Words));

template <typename Words>
class Tile {
 public:
  /// Number c of part r goes to number r of part c, with the bits of both reversed.
  void Load(const Words* source, int32_t partLength) {
    for (int32_t r = 0; r < kSide; ++r) {
      for (int32_t c = 0; c < kSide; ++c) {
        numbers_[Reversed(c)][Reversed(r)] = primitives::Load(source, r * partLength + c);
      }
    }
  }
  void Store(Words* destination, int32_t partLength) const {
    for (int32_t r = 0; r < kSide; ++r) {
      for (int32_t c = 0; c < kSide; ++c) {
        primitives::Store<Words>(destination, r * partLength + c, numbers_[r][c]);
      }
    }
  }

 private:
  static constexpr int32_t kSide = kTileSide<Words>;
  static_assert(kSide == 4 || kSide == 8);

  static constexpr int32_t Reversed(int32_t i) {
    if constexpr (kSide == 4) return (i & 1) << 1 | i >> 1;
    return (i & 1) << 2 | (i & 2) | i >> 2;
  }

  Words numbers_[kSide][kSide];
};

// Tiles start where the bits of a tile's rows and columns are 0, and trade places as the table says
// for such numbers. source may be destination.
template <typename Words>
void PermuteTiles(const Words* source, Words* destination, int32_t n, const int32_t* bitRevTable) {
  const int32_t partLength = n / kTileSide<Words>;
  const int32_t end = 2 * partLength;
  const auto isTile = [end](int32_t entry) {
    return entry % (2 * kTileSide<Words>) == 0 && entry < end;
  };
  Tile<Words> first;
  Tile<Words> second;
  for (const int32_t* entry = bitRevTable; *entry != 0 && *entry < end; entry += 2) {
    if (!isTile(entry[0]) || !isTile(entry[1])) continue;
    const int32_t a = entry[0] / 2;
    const int32_t b = entry[1] / 2;
    first.Load(source + a, partLength);
    second.Load(source + b, partLength);
    first.Store(destination + b, partLength);
    second.Store(destination + a, partLength);
  }
  const auto moveSelfReversed = [&](int32_t a) {
    first.Load(source + a, partLength);
    first.Store(destination + a, partLength);
  };
  moveSelfReversed(0);
  for (const int32_t* entry = bitRevTable + n / 4 - 1; *entry != 0; --entry) {
    if (isTile(*entry)) moveSelfReversed(*entry / 2);
  }
}

}  // namespace

template <typename Element>
void FFTPermute(const Element* source, Element* destination, int32_t n,
                const int32_t* bitRevTable) {
  constexpr int32_t kNearestCacheBytes = 32768;
  if (n > kNearestCacheBytes / static_cast<int32_t>(2 * sizeof(Element))) {
    PermuteTiles(AsComplexWords(source), AsComplexWords(destination), n, bitRevTable);
  } else if (source == destination) {
    PermuteInPlace(AsComplexWords(destination), n, bitRevTable);
  } else {
    PermuteApart(AsComplexWords(source), AsComplexWords(destination), n, bitRevTable);
  }
}

template void FFTPermute(const float*, float*, int32_t, const int32_t*);
template void FFTPermute(const double*, double*, int32_t, const int32_t*);

}  // namespace zr::primitives::px
