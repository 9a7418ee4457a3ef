#include "points/turn_kernel.h"

#include <immintrin.h>

// AVX-512 versions take eight points at a time; the arithmetic is lane by lane what the
// scalar lines do. The merge-masked forms with every lane set are used where the plain intrinsics pass an
// undefined vector, which this compiler mistakes for an uninitialised read.
namespace sorvek {
namespace {

constexpr __mmask8 allLanes = 0xFF;

void turnCoordinatesScalar(const double* x, const double* y, std::size_t from, std::size_t count,
                           const Turn& turn, double* tx, double* ty) {
    for (std::size_t i = from; i < count; ++i) {
        tx[i] = turnedX(turn, x[i], y[i]);
        ty[i] = turnedY(turn, x[i], y[i]);
    }
}

inline void widen(double value, double& least, double& greatest) {
    greatest = value > greatest ? value : greatest;
    least = least > value ? value : least;
}

void widenScalar(const double* x, const double* y, const double* z, std::size_t from,
                 std::size_t count, PartBounds& bounds) {
    for (std::size_t i = from; i < count; ++i) {
        widen(x[i], bounds.minX, bounds.maxX);
        widen(y[i], bounds.minY, bounds.maxY);
        widen(z[i], bounds.minZ, bounds.maxZ);
    }
}

void cubesScalar(const double* x, const double* y, const double* z, std::size_t from,
                 std::size_t count, const CubeGrid& grid, std::uint32_t* keys) {
    for (std::size_t i = from; i < count; ++i) keys[i] = cubeOf(grid, x[i], y[i], z[i]);
}

__attribute__((target("avx512f"))) void turnCoordinatesAvx512(const double* x, const double* y,
                                                              std::size_t count, const Turn& turn,
                                                              double* tx, double* ty) {
    const __m512d pivotX = _mm512_set1_pd(turn.pivotX);
    const __m512d pivotY = _mm512_set1_pd(turn.pivotY);
    const __m512d cosAngle = _mm512_set1_pd(turn.cosAngle);
    const __m512d sinAngle = _mm512_set1_pd(turn.sinAngle);
    std::size_t i = 0;
    for (; i + 8 <= count; i += 8) {
        const __m512d dx = _mm512_sub_pd(_mm512_loadu_pd(x + i), pivotX);
        const __m512d dy = _mm512_sub_pd(_mm512_loadu_pd(y + i), pivotY);
        _mm512_storeu_pd(tx + i, _mm512_sub_pd(_mm512_add_pd(pivotX, _mm512_mul_pd(dx, cosAngle)),
                                               _mm512_mul_pd(dy, sinAngle)));
        _mm512_storeu_pd(ty + i, _mm512_add_pd(_mm512_add_pd(pivotY, _mm512_mul_pd(dx, sinAngle)),
                                               _mm512_mul_pd(dy, cosAngle)));
    }
    turnCoordinatesScalar(x, y, i, count, turn, tx, ty);
}

// max(value, greatest) and min(value, least) keep the second operand on equality and on
// NaN: exactly the selections of the scalar lines.
__attribute__((target("avx512f"))) void widenAvx512(const double* x, const double* y,
                                                    const double* z, std::size_t count,
                                                    PartBounds& bounds) {
    __m512d minX = _mm512_set1_pd(bounds.minX);
    __m512d maxX = _mm512_set1_pd(bounds.maxX);
    __m512d minY = _mm512_set1_pd(bounds.minY);
    __m512d maxY = _mm512_set1_pd(bounds.maxY);
    __m512d minZ = _mm512_set1_pd(bounds.minZ);
    __m512d maxZ = _mm512_set1_pd(bounds.maxZ);
    std::size_t i = 0;
    for (; i + 8 <= count; i += 8) {
        const __m512d vx = _mm512_loadu_pd(x + i);
        const __m512d vy = _mm512_loadu_pd(y + i);
        const __m512d vz = _mm512_loadu_pd(z + i);
        maxX = _mm512_mask_max_pd(maxX, allLanes, vx, maxX);
        minX = _mm512_mask_min_pd(minX, allLanes, vx, minX);
        maxY = _mm512_mask_max_pd(maxY, allLanes, vy, maxY);
        minY = _mm512_mask_min_pd(minY, allLanes, vy, minY);
        maxZ = _mm512_mask_max_pd(maxZ, allLanes, vz, maxZ);
        minZ = _mm512_mask_min_pd(minZ, allLanes, vz, minZ);
    }
    alignas(64) double lanes[6][8];
    _mm512_store_pd(lanes[0], minX);
    _mm512_store_pd(lanes[1], maxX);
    _mm512_store_pd(lanes[2], minY);
    _mm512_store_pd(lanes[3], maxY);
    _mm512_store_pd(lanes[4], minZ);
    _mm512_store_pd(lanes[5], maxZ);
    for (int lane = 0; lane < 8; ++lane) {
        widen(lanes[0][lane], bounds.minX, bounds.maxX);
        widen(lanes[1][lane], bounds.minX, bounds.maxX);
        widen(lanes[2][lane], bounds.minY, bounds.maxY);
        widen(lanes[3][lane], bounds.minY, bounds.maxY);
        widen(lanes[4][lane], bounds.minZ, bounds.maxZ);
        widen(lanes[5][lane], bounds.minZ, bounds.maxZ);
    }
    widenScalar(x, y, z, i, count, bounds);
}

struct AxisVectors {
    __m512d origin;
    __m512d edge;
    __m512d scale;
    __m512d cubes;
    bool isScaled;
};

__attribute__((target("avx512f"))) inline AxisVectors axisVectors(double origin, double edge,
                                                                  double scale,
                                                                  std::int32_t cubes) {
    return {_mm512_set1_pd(origin), _mm512_set1_pd(edge), _mm512_set1_pd(scale),
            _mm512_set1_pd(static_cast<double>(cubes)), scale != 0.0};
}

// The cube coordinate lane by lane, and in `inside` the lanes where it lies in the grid.
__attribute__((target("avx512f"))) inline __m256i coordinateAvx512(__m512d value,
                                                                   const AxisVectors& axis,
                                                                   __mmask8& inside) {
    const __m512d offset = _mm512_sub_pd(value, axis.origin);
    const __m512d q =
        axis.isScaled ? _mm512_mul_pd(offset, axis.scale) : _mm512_div_pd(offset, axis.edge);
    inside &= _mm512_cmp_pd_mask(q, _mm512_set1_pd(-1.0), _CMP_GT_OQ);
    inside &= _mm512_cmp_pd_mask(q, axis.cubes, _CMP_LT_OQ);
    return _mm512_mask_cvttpd_epi32(_mm256_setzero_si256(), allLanes,
                                    q);  // truncates toward zero; lanes outside are not used
}

__attribute__((target("avx512f"))) void cubesAvx512(const double* x, const double* y,
                                                    const double* z, std::size_t count,
                                                    const CubeGrid& grid, std::uint32_t* keys) {
    const AxisVectors axisX = axisVectors(grid.originX, grid.edgeX, grid.scaleX, grid.nx);
    const AxisVectors axisY = axisVectors(grid.originY, grid.edgeY, grid.scaleY, grid.ny);
    const AxisVectors axisZ = axisVectors(grid.originZ, grid.edgeZ, grid.scaleZ, grid.nz);
    const auto layerSize = static_cast<std::uint32_t>(grid.nx);
    const std::uint32_t sliceSize = layerSize * static_cast<std::uint32_t>(grid.nz);
    const __m512i layer = _mm512_set1_epi32(static_cast<int>(layerSize));
    const __m512i slice = _mm512_set1_epi32(static_cast<int>(sliceSize));
    const __m512i outOfGrid = _mm512_set1_epi32(grid.cubeCount);
    std::size_t i = 0;
    for (; i + 8 <= count; i += 8) {
        __mmask8 inside = 0xFF;
        const __m512i ix =
            _mm512_castsi256_si512(coordinateAvx512(_mm512_loadu_pd(x + i), axisX, inside));
        const __m512i iy =
            _mm512_castsi256_si512(coordinateAvx512(_mm512_loadu_pd(y + i), axisY, inside));
        const __m512i iz =
            _mm512_castsi256_si512(coordinateAvx512(_mm512_loadu_pd(z + i), axisZ, inside));
        const __m512i cube = _mm512_add_epi32(_mm512_add_epi32(ix, _mm512_mullo_epi32(iz, layer)),
                                              _mm512_mullo_epi32(iy, slice));
        const __m512i chosen =
            _mm512_mask_blend_epi32(static_cast<__mmask16>(inside), outOfGrid, cube);
        _mm512_mask_storeu_epi32(keys + i, static_cast<__mmask16>(allLanes),
                                 chosen);  // eight lanes
    }
    cubesScalar(x, y, z, i, count, grid, keys);
}

bool hasAvx512() {
    __builtin_cpu_init();
    return __builtin_cpu_supports("avx512f");
}

// Chosen once; it never changes afterwards.
bool usesAvx512() {
    static const bool isAvailable = hasAvx512();
    return isAvailable;
}

}  // namespace

void turnCoordinates(const double* x, const double* y, std::size_t count, const Turn& turn,
                     double* turnedX, double* turnedY) {
    if (usesAvx512()) {
        turnCoordinatesAvx512(x, y, count, turn, turnedX, turnedY);
    } else {
        turnCoordinatesScalar(x, y, 0, count, turn, turnedX, turnedY);
    }
}

void widenBounds(std::span<const double> x, std::span<const double> y, std::span<const double> z,
                 PartBounds& bounds) {
    if (usesAvx512()) {
        widenAvx512(x.data(), y.data(), z.data(), x.size(), bounds);
    } else {
        widenScalar(x.data(), y.data(), z.data(), 0, x.size(), bounds);
    }
}

void cubesOf(std::span<const double> x, std::span<const double> y, std::span<const double> z,
             const CubeGrid& grid, std::span<std::uint32_t> keys) {
    if (usesAvx512()) {
        cubesAvx512(x.data(), y.data(), z.data(), x.size(), grid, keys.data());
    } else {
        cubesScalar(x.data(), y.data(), z.data(), 0, x.size(), grid, keys.data());
    }
}

}  // namespace sorvek
