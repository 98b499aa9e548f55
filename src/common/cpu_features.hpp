#pragma once
// What the processor offers to the loops that have vector forms, asked once per process.
namespace pelix {

// AVX: four doubles per instruction.
inline bool cpu_has_avx() {
#if defined(__x86_64__) && defined(__GNUC__)
    static const bool supported = __builtin_cpu_supports("avx");
    return supported;
#else
    return false;
#endif
}

// AVX2 with the population count: four-lane integer shuffles, gathers and compress-stores.
inline bool cpu_has_avx2() {
#if defined(__x86_64__) && defined(__GNUC__)
    static const bool supported =
        __builtin_cpu_supports("avx2") && __builtin_cpu_supports("popcnt");
    return supported;
#else
    return false;
#endif
}

// AVX-512 F and VL: eight doubles per instruction, mask registers, and compresses of 256-bit
// integer vectors.
inline bool cpu_has_avx512() {
#if defined(__x86_64__) && defined(__GNUC__)
    static const bool supported = __builtin_cpu_supports("avx512f") &&
                                  __builtin_cpu_supports("avx512vl") &&
                                  __builtin_cpu_supports("popcnt");
    return supported;
#else
    return false;
#endif
}

}  // namespace pelix
