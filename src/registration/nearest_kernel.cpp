#include "registration/nearest_kernel.h"

#include <immintrin.h>

// The vector loops test a whole block of points against the third place and fall back to
// the scalar insertion only for the lanes that pass, in lane order, each tested again
// against the list as the earlier lanes left it. The third place only falls, so a lane
// that fails the block test would fail the scalar test too.
namespace sorvek {
namespace {

inline void insertNearest(NearestList& nearest, double q, std::int32_t position) {
    auto& d = nearest.squaredDistance;
    auto& at = nearest.position;
    if (!(d[2] > q)) return;  // also refuses NaN
    if (d[0] >= q) {
        d = {q, d[0], d[1]};
        at = {position, at[0], at[1]};
    } else if (d[1] >= q) {
        d = {d[0], q, d[1]};
        at = {at[0], position, at[1]};
    } else {
        d[2] = q;
        at[2] = position;
    }
}

inline double squaredDistance(const ReferenceRun& run, std::size_t i, double sx, double sy,
                              double sz) {
    const double dx = run.x[i] - sx;
    const double dy = run.y[i] - sy;
    const double dz = run.z[i] - sz;
    return (dy * dy + dx * dx) + dz * dz;
}

void scalarTail(const ReferenceRun& run, std::size_t from, double sx, double sy, double sz,
                NearestList& nearest) {
    for (std::size_t i = from; i < run.count; ++i) {
        insertNearest(nearest, squaredDistance(run, i, sx, sy, sz),
                      run.first + static_cast<std::int32_t>(i));
    }
}

__attribute__((target("avx2"))) NearestList nearestAvx2(const ReferenceRun& run, double sx,
                                                         double sy, double sz) {
    NearestList nearest;
    const __m256d vx = _mm256_set1_pd(sx);
    const __m256d vy = _mm256_set1_pd(sy);
    const __m256d vz = _mm256_set1_pd(sz);
    std::size_t i = 0;
    for (; i + 4 <= run.count; i += 4) {
        const __m256d dx = _mm256_sub_pd(_mm256_loadu_pd(run.x + i), vx);
        const __m256d dy = _mm256_sub_pd(_mm256_loadu_pd(run.y + i), vy);
        const __m256d dz = _mm256_sub_pd(_mm256_loadu_pd(run.z + i), vz);
        const __m256d q = _mm256_add_pd(_mm256_add_pd(_mm256_mul_pd(dy, dy), _mm256_mul_pd(dx, dx)),
                                        _mm256_mul_pd(dz, dz));
        const __m256d third = _mm256_set1_pd(nearest.squaredDistance[2]);
        int passing = _mm256_movemask_pd(_mm256_cmp_pd(q, third, _CMP_LT_OQ));
        if (passing == 0) continue;
        alignas(32) double lanes[4];
        _mm256_store_pd(lanes, q);
        for (int lane = 0; lane < 4; ++lane) {
            if ((passing >> lane) & 1) {
                insertNearest(nearest, lanes[lane],
                              run.first + static_cast<std::int32_t>(i) + lane);
            }
        }
    }
    scalarTail(run, i, sx, sy, sz, nearest);
    return nearest;
}

__attribute__((target("avx512f"))) NearestList nearestAvx512(const ReferenceRun& run, double sx,
                                                              double sy, double sz) {
    NearestList nearest;
    const __m512d vx = _mm512_set1_pd(sx);
    const __m512d vy = _mm512_set1_pd(sy);
    const __m512d vz = _mm512_set1_pd(sz);
    std::size_t i = 0;
    for (; i + 8 <= run.count; i += 8) {
        const __m512d dx = _mm512_sub_pd(_mm512_loadu_pd(run.x + i), vx);
        const __m512d dy = _mm512_sub_pd(_mm512_loadu_pd(run.y + i), vy);
        const __m512d dz = _mm512_sub_pd(_mm512_loadu_pd(run.z + i), vz);
        const __m512d q = _mm512_add_pd(_mm512_add_pd(_mm512_mul_pd(dy, dy), _mm512_mul_pd(dx, dx)),
                                        _mm512_mul_pd(dz, dz));
        const __m512d third = _mm512_set1_pd(nearest.squaredDistance[2]);
        const unsigned passing = _mm512_cmp_pd_mask(q, third, _CMP_LT_OQ);
        if (passing == 0) continue;
        alignas(64) double lanes[8];
        _mm512_store_pd(lanes, q);
        for (int lane = 0; lane < 8; ++lane) {
            if ((passing >> lane) & 1U) {
                insertNearest(nearest, lanes[lane],
                              run.first + static_cast<std::int32_t>(i) + lane);
            }
        }
    }
    scalarTail(run, i, sx, sy, sz, nearest);
    return nearest;
}

using NearestKernel = NearestList (*)(const ReferenceRun&, double, double, double);

struct KernelChoice {
    NearestKernel kernel;
    const char* name;
};

KernelChoice chooseKernel() {
    __builtin_cpu_init();
    if (__builtin_cpu_supports("avx512f")) return {nearestAvx512, "avx512"};
    if (__builtin_cpu_supports("avx2")) return {nearestAvx2, "avx2"};
    return {nearestInRunScalar, "scalar"};
}

// Chosen once, before any thread asks; it never changes afterwards.
const KernelChoice& kernelChoice() {
    static const KernelChoice choice = chooseKernel();
    return choice;
}

}  // namespace

NearestList nearestInRunScalar(const ReferenceRun& run, double sx, double sy, double sz) {
    NearestList nearest;
    scalarTail(run, 0, sx, sy, sz, nearest);
    return nearest;
}

NearestList nearestInRun(const ReferenceRun& run, double sx, double sy, double sz) {
    return kernelChoice().kernel(run, sx, sy, sz);
}

const char* nearestKernelName() { return kernelChoice().name; }

}  // namespace sorvek
