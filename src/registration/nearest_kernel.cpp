#include "registration/nearest_kernel.h"

#include <immintrin.h>

#include <limits>

// The vector loops test a whole block of points against the third place and fall back to
// the scalar insertion only for the lanes that pass, in lane order, each tested again
// against the list as the earlier lanes left it. The third place only falls, so a lane
// that fails the block test would fail the scalar test too.
namespace sorvek {
namespace {

// Distances of a run kept between the two passes: 32 kB on the stack of the thread.
constexpr std::size_t keptDistances = 4096;

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

// The squared distances of the eight points from `first`, each as squaredDistance forms it.
__attribute__((target("avx512f"))) inline __m512d blockDistancesAvx512(const ReferenceRun& run,
                                                                       std::size_t first,
                                                                       __m512d vx, __m512d vy,
                                                                       __m512d vz) {
    const __m512d dx = _mm512_sub_pd(_mm512_loadu_pd(run.x + first), vx);
    const __m512d dy = _mm512_sub_pd(_mm512_loadu_pd(run.y + first), vy);
    const __m512d dz = _mm512_sub_pd(_mm512_loadu_pd(run.z + first), vz);
    return _mm512_add_pd(_mm512_add_pd(_mm512_mul_pd(dy, dy), _mm512_mul_pd(dx, dx)),
                         _mm512_mul_pd(dz, dz));
}

// A bound at or above the run's third smallest squared distance: the third smallest of
// the least distance of each lane and of the points past the last whole block. Any three
// of the run's distances bound the third smallest from above, and the least of each lane
// costs one instruction a block. Consecutive points of a run, which lie close together,
// fall into different lanes, so the bound is seldom much above the truth. A lane that
// is not a number drops out of the bound; values of 999 and more may stand in it, which
// then lets every point that could enter through.
__attribute__((target("avx512f"))) double thirdPlaceBoundAvx512(const ReferenceRun& run, double sx,
                                                                double sy, double sz,
                                                                std::size_t& blockEnd,
                                                                double* kept) {
    const __m512d vx = _mm512_set1_pd(sx);
    const __m512d vy = _mm512_set1_pd(sy);
    const __m512d vz = _mm512_set1_pd(sz);
    const __mmask8 all = 0xFF;
    __m512d least = _mm512_set1_pd(std::numeric_limits<double>::infinity());
    std::size_t i = 0;
    for (; i + 8 <= run.count; i += 8) {
        const __m512d q = blockDistancesAvx512(run, i, vx, vy, vz);
        if (kept != nullptr) _mm512_storeu_pd(kept + i, q);
        least = _mm512_mask_min_pd(least, all, q, least);  // a NaN in q keeps least
    }
    blockEnd = i;
    alignas(64) double lanes[8];
    _mm512_store_pd(lanes, least);
    double values[3] = {std::numeric_limits<double>::infinity(),
                        std::numeric_limits<double>::infinity(),
                        std::numeric_limits<double>::infinity()};
    const auto keep = [&](double q) {
        if (!(q < values[2])) return;
        if (q < values[0]) {
            values[2] = values[1];
            values[1] = values[0];
            values[0] = q;
        } else if (q < values[1]) {
            values[2] = values[1];
            values[1] = q;
        } else {
            values[2] = q;
        }
    };
    for (const double q : lanes) keep(q);
    for (std::size_t j = i; j < run.count; ++j) keep(squaredDistance(run, j, sx, sy, sz));
    return values[2];
}

// Only points at or below the run's third smallest distance can be in the final list, and
// putting them through the insertion rule, in run order, with or without any points
// beyond it, gives the very list that all points would give: a point beyond it can only
// ever stand behind those at or below it, so it moves none of them and, once three of
// them are in, enters no more. The first pass finds a bound at or above that distance
// without a branch; the second meets the few points at or below the bound.
__attribute__((target("avx512f"))) NearestList nearestAvx512(const ReferenceRun& run, double sx,
                                                             double sy, double sz) {
    NearestList nearest;
    const __m512d vx = _mm512_set1_pd(sx);
    const __m512d vy = _mm512_set1_pd(sy);
    const __m512d vz = _mm512_set1_pd(sz);
    std::size_t blockEnd = 0;
    // A short run's distances are kept from the first pass, a long one's are taken again.
    alignas(64) double kept[keptDistances];
    const bool isKept = run.count <= keptDistances;
    const double limit = thirdPlaceBoundAvx512(run, sx, sy, sz, blockEnd, isKept ? kept : nullptr);
    const __m512d vlimit = _mm512_set1_pd(limit);
    const __m512d never = _mm512_set1_pd(emptySquaredDistance);
    for (std::size_t i = 0; i < blockEnd; i += 8) {
        __m512d q;
        if (isKept) {
            q = _mm512_load_pd(kept + i);
        } else {
            q = blockDistancesAvx512(run, i, vx, vy, vz);
        }
        unsigned passing =
            _mm512_cmp_pd_mask(q, vlimit, _CMP_LE_OQ) & _mm512_cmp_pd_mask(q, never, _CMP_LT_OQ);
        if (passing == 0) continue;
        alignas(64) double lanes[8];
        _mm512_store_pd(lanes, q);
        while (passing != 0) {
            const int lane = __builtin_ctz(passing);
            insertNearest(nearest, lanes[lane], run.first + static_cast<std::int32_t>(i) + lane);
            passing &= passing - 1;
        }
    }
    for (std::size_t j = blockEnd; j < run.count; ++j) {
        const double q = squaredDistance(run, j, sx, sy, sz);
        if (q <= limit) insertNearest(nearest, q, run.first + static_cast<std::int32_t>(j));
    }
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

std::vector<std::string> availableNearestKernels() {
    __builtin_cpu_init();
    std::vector<std::string> names;
    if (__builtin_cpu_supports("avx512f")) names.emplace_back("avx512");
    if (__builtin_cpu_supports("avx2")) names.emplace_back("avx2");
    names.emplace_back("scalar");
    return names;
}

NearestList nearestInRunWith(const std::string& kernelName, const ReferenceRun& run, double sx,
                             double sy, double sz) {
    if (kernelName == "avx512" && __builtin_cpu_supports("avx512f")) {
        return nearestAvx512(run, sx, sy, sz);
    }
    if (kernelName == "avx2" && __builtin_cpu_supports("avx2")) return nearestAvx2(run, sx, sy, sz);
    return nearestInRunScalar(run, sx, sy, sz);
}

}  // namespace sorvek
