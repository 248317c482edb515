#include "astrometria/least_squares.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace tornel {

int LeastSquares(const DenseMatrix& a, const DenseMatrix& b, double maxCondition, DenseMatrix& x,
                 double& condition) {
    const int m = a.rows, n = a.cols, k = b.cols;
    condition = std::numeric_limits<double>::infinity();
    if (n < 1 || m < n || b.rows != m) return kLeastSquaresTooFewRows;

    DenseMatrix r = a, q = b;
    std::vector<double> scale(static_cast<size_t>(n));
    for (int j = 0; j < n; ++j) {
        double sum = 0;
        for (int i = 0; i < m; ++i)
            sum += r(i, j) * r(i, j);
        if (!(sum > 0)) return kLeastSquaresDependent;
        scale[static_cast<size_t>(j)] = std::sqrt(sum);
        for (int i = 0; i < m; ++i)
            r(i, j) /= scale[static_cast<size_t>(j)];
    }

    // Householder reflections H = I - 2 v v' / (v' v) take column j to alpha e_j, one column at a time.
    std::vector<double> v(static_cast<size_t>(m));
    for (int j = 0; j < n; ++j) {
        double norm = 0;
        for (int i = j; i < m; ++i)
            norm += r(i, j) * r(i, j);
        norm = std::sqrt(norm);
        if (norm == 0) return kLeastSquaresDependent;
        const double alpha = r(j, j) > 0 ? -norm : norm;
        double vv = 0;
        for (int i = j; i < m; ++i) {
            v[static_cast<size_t>(i)] = r(i, j) - (i == j ? alpha : 0);
            vv += v[static_cast<size_t>(i)] * v[static_cast<size_t>(i)];
        }
        auto reflect = [&](DenseMatrix& target, int column) {
            double dot = 0;
            for (int i = j; i < m; ++i)
                dot += v[static_cast<size_t>(i)] * target(i, column);
            const double f = 2 * dot / vv;
            for (int i = j; i < m; ++i)
                target(i, column) -= f * v[static_cast<size_t>(i)];
        };
        for (int l = j + 1; l < n; ++l)
            reflect(r, l);
        for (int l = 0; l < k; ++l)
            reflect(q, l);
        r(j, j) = alpha;
        for (int i = j + 1; i < m; ++i)
            r(i, j) = 0;
    }

    double greatest = 0, least = std::numeric_limits<double>::infinity();
    for (int j = 0; j < n; ++j) {
        greatest = std::max(greatest, std::fabs(r(j, j)));
        least = std::min(least, std::fabs(r(j, j)));
    }
    // A column that the earlier ones span leaves a diagonal element of rounding size.
    if (least < greatest * std::numeric_limits<double>::epsilon()) return kLeastSquaresDependent;
    condition = greatest / least;
    if (condition > maxCondition) return kLeastSquaresDependent;

    DenseMatrix solved(n, k);
    for (int l = 0; l < k; ++l)
        for (int j = n - 1; j >= 0; --j) {
            double s = q(j, l);
            for (int i = j + 1; i < n; ++i)
                s -= r(j, i) * solved(i, l);
            solved(j, l) = s / r(j, j);
        }
    for (int j = 0; j < n; ++j)
        for (int l = 0; l < k; ++l)
            solved(j, l) /= scale[static_cast<size_t>(j)];
    x = std::move(solved);
    return kLeastSquaresSolved;
}

}  // namespace tornel
