#pragma once
// Linear least squares for the small dense systems of the plate fits: a Householder QR of the matrix
// with its columns first brought to unit length, so that the test of independence reads the geometry
// of the data rather than the units of the unknowns.
#include <cstddef>
#include <vector>

namespace tornel {

// A dense matrix, row-major.
struct DenseMatrix {
    DenseMatrix() = default;
    DenseMatrix(int r, int c) : rows(r), cols(c), values(static_cast<size_t>(r) * static_cast<size_t>(c)) {}
    double& operator()(int i, int j) { return values[Index(i, j)]; }
    double operator()(int i, int j) const { return values[Index(i, j)]; }

    int rows = 0, cols = 0;
    std::vector<double> values;

  private:
    size_t Index(int i, int j) const {
        return static_cast<size_t>(i) * static_cast<size_t>(cols) + static_cast<size_t>(j);
    }
};

constexpr int kLeastSquaresSolved = 0;
constexpr int kLeastSquaresTooFewRows = 1;
constexpr int kLeastSquaresDependent = 2;

// The x that makes |a x - b| least, for each column of b.
//   a: m x n with m >= n >= 1; b: m x k.
//   maxCondition: the largest ratio of the greatest to the least diagonal element of R (columns of `a`
//   at unit length) still taken for independent columns.
//   out x: n x k, written only when solved.
//   out condition: that ratio; infinity when a column is zero or depends exactly on those before it.
// Returns kLeastSquaresSolved; kLeastSquaresTooFewRows when m < n, n = 0 or b has not m rows;
// kLeastSquaresDependent when the ratio is above maxCondition. Raises no floating-point flag on
// either refusal.
int LeastSquares(const DenseMatrix& a, const DenseMatrix& b, double maxCondition, DenseMatrix& x,
                 double& condition);

}  // namespace tornel
