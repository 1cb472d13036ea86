#pragma once
// A set over a small enumeration, stored as bits (bit n = value n).
#include <cstdint>
#include <initializer_list>

template <typename E, typename Bits = uint32_t>
class TSet {
public:
  constexpr TSet() = default;
  constexpr TSet(std::initializer_list<E> values) {
    for (E e : values) bits_ |= Bit(e);
  }
  static constexpr TSet FromBits(Bits b) { TSet s; s.bits_ = b; return s; }

  constexpr bool Contains(E e) const { return (bits_ & Bit(e)) != 0; }
  constexpr TSet& Include(E e) { bits_ |= Bit(e); return *this; }
  constexpr TSet& Exclude(E e) { bits_ &= ~Bit(e); return *this; }
  constexpr bool Empty() const { return bits_ == 0; }
  constexpr Bits ToBits() const { return bits_; }

  constexpr TSet operator+(TSet o) const { return FromBits(bits_ | o.bits_); }
  constexpr TSet operator-(TSet o) const { return FromBits(bits_ & ~o.bits_); }
  constexpr TSet operator*(TSet o) const { return FromBits(bits_ & o.bits_); }
  constexpr TSet operator+(E e) const { return FromBits(bits_ | Bit(e)); }
  constexpr TSet operator-(E e) const { return FromBits(bits_ & ~Bit(e)); }
  constexpr bool operator==(const TSet&) const = default;

private:
  static constexpr Bits Bit(E e) { return Bits(1) << static_cast<unsigned>(e); }
  Bits bits_ = 0;
};
