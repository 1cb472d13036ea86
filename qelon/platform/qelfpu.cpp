// Floating-point set-up at library load: every exception masked and round to
// nearest, so drivers and degenerate geometry yield infinities and NaNs
// instead of trapping. On x86-64 the SSE control register (MXCSR) governs
// double arithmetic; a 64-bit precision setting would concern the x87 unit
// only, which this code does not use, so it is left as it is.
#include <cfenv>
#if defined(__x86_64__) || defined(__i386__)
#include <xmmintrin.h>
#endif

namespace {
struct FloatingPointSetup {
  FloatingPointSetup() {
    std::fesetround(FE_TONEAREST);
#if defined(__x86_64__) || defined(__i386__)
    _mm_setcsr((_mm_getcsr() | _MM_MASK_MASK) & ~_MM_ROUND_MASK);
#endif
  }
};
const FloatingPointSetup setupAtLoad;
}  // namespace
