#pragma once
// Dense symmetric positive-definite systems, the normal equations of a small adjustment:
// a Cholesky factor, solutions and the inverse (the cofactor matrix of the unknowns).

#include <cstddef>
#include <span>
#include <vector>

namespace sorvek {

struct SquareMatrix {
    std::size_t size = 0;        // rows, and columns
    std::vector<double> values;  // row-major, size * size
};

inline SquareMatrix zeroMatrix(std::size_t size) {
    return {size, std::vector<double>(size * size, 0.0)};
}

inline double& entry(SquareMatrix& matrix, std::size_t row, std::size_t column) {
    return matrix.values[(row * matrix.size) + column];
}

inline double entry(const SquareMatrix& matrix, std::size_t row, std::size_t column) {
    return matrix.values[(row * matrix.size) + column];
}

// Overwrites the lower triangle with L, where matrix = L * L^T; the upper triangle is left
// as it was and never read again. False when a pivot is not a positive finite number:
// the matrix is not positive definite, or holds a NaN or an infinity.
bool factorCholesky(SquareMatrix& matrix);

// Solves (L * L^T) x = rhs with the factor from factorCholesky; rhs has factor.size entries.
std::vector<double> solveCholesky(const SquareMatrix& factor, std::span<const double> rhs);

// The whole inverse of L * L^T, exactly symmetric.
SquareMatrix invertCholesky(const SquareMatrix& factor);

}  // namespace sorvek
