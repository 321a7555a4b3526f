// Matrix operators against Eigen computations made here: element access,
// arithmetic in both forms, products of every transposition, reductions
// and norms, inverses and solutions of every matrix type, powers,
// eigenvalues, singular values and factorisations (checked by what they
// must satisfy), and matrices through items and files, exactly.
#include <gtest/gtest.h>
#include <unistd.h>

#include <eigen3/Eigen/Dense>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include <vexaobj.h>

#include "leak_checked_test.h"
#include "vexa/errors.h"

namespace {

using namespace Vexa;
using Mat = Eigen::MatrixXd;

class MatrixTest : public LeakCheckedTest {
 protected:
  void TearDown() override {
    EXPECT_EQ(clear_all_matrices(), VRESULT_OK);
    EXPECT_EQ(clear_all_serialized_items(), VRESULT_OK);
    LeakCheckedTest::TearDown();
  }
  Mat Random(int rows, int cols) {
    std::uniform_real_distribution<double> v(-2.0, 2.0);
    Mat m(rows, cols);
    for (int r = 0; r < rows; ++r)
      for (int c = 0; c < cols; ++c) m(r, c) = v(rng_);
    return m;
  }
  Mat SymmetricPositive(int n) {
    const Mat b = Random(n, n);
    return b * b.transpose() + n * Mat::Identity(n, n);
  }
  std::mt19937 rng_{4242};
};

Vlong Make(const Mat& m) {
  VTuple values;
  for (int r = 0; r < m.rows(); ++r)
    for (int c = 0; c < m.cols(); ++c) values.Append(VTuple(m(r, c)));
  Vlong h = -1;
  EXPECT_EQ(create_matrix(VTuple(Vlong{m.rows()}), VTuple(Vlong{m.cols()}), values, &h), VRESULT_OK);
  return h;
}

Mat Read(Vlong h) {
  Vlong rows = 0, cols = 0;
  EXPECT_EQ(get_size_matrix(h, &rows, &cols), VRESULT_OK);
  VTuple values;
  EXPECT_EQ(get_full_matrix(h, &values), VRESULT_OK);
  Mat m(rows, cols);
  for (Vlong i = 0; i < values.Num(); ++i) m(i / cols, i % cols) = values[i].D();
  return m;
}

void ExpectNear(const Mat& a, const Mat& b, double tol = 1e-9) {
  ASSERT_EQ(a.rows(), b.rows());
  ASSERT_EQ(a.cols(), b.cols());
  EXPECT_LE((a - b).cwiseAbs().maxCoeff(), tol) << "got\n" << a << "\nexpected\n" << b;
}

TEST_F(MatrixTest, ElementsBlocksDiagonalsAndTiles) {
  const Mat a = Random(4, 5);
  const Vlong h = Make(a);
  EXPECT_TRUE(Read(h) == a);
  Vlong c = -1;
  ASSERT_EQ(create_matrix(Vlong{2}, Vlong{3}, 1.5, &c), VRESULT_OK);
  EXPECT_TRUE(Read(c) == Mat::Constant(2, 3, 1.5));

  VTuple v;
  VTuple rows, cols;
  rows.Append(VTuple(Vlong{3})).Append(VTuple(Vlong{0}));
  cols.Append(VTuple(Vlong{4})).Append(VTuple(Vlong{1}));
  ASSERT_EQ(get_value_matrix(VTuple(h), rows, cols, &v), VRESULT_OK);
  EXPECT_EQ(v[0].D(), a(3, 4));
  EXPECT_EQ(v[1].D(), a(0, 1));
  EXPECT_EQ(set_value_matrix(h, Vlong{1}, Vlong{2}, 9.0), VRESULT_OK);
  Mat expected = a;
  expected(1, 2) = 9.0;
  EXPECT_TRUE(Read(h) == expected);

  Vlong sub = -1;
  ASSERT_EQ(get_sub_matrix(h, Vlong{1}, Vlong{2}, Vlong{3}, Vlong{2}, &sub), VRESULT_OK);
  EXPECT_TRUE(Read(sub) == expected.block(1, 2, 3, 2));
  EXPECT_EQ(set_sub_matrix(c, sub, Vlong{0}, Vlong{1}), VERR_CTRL_VALUE(2));  // 3 rows into 2
  EXPECT_EQ(set_sub_matrix(h, c, Vlong{2}, Vlong{2}), VRESULT_OK);
  expected.block(2, 2, 2, 3).setConstant(1.5);
  EXPECT_TRUE(Read(h) == expected);

  for (Vlong k : {Vlong{-2}, Vlong{0}, Vlong{3}}) {
    Vlong d = -1;
    ASSERT_EQ(get_diagonal_matrix(h, k, &d), VRESULT_OK);
    const Mat got = Read(d);
    const Eigen::VectorXd ref = expected.diagonal(k);
    EXPECT_TRUE(got == Mat(ref)) << k;
    ASSERT_EQ(scale_matrix_mod(d, -1.0), VRESULT_OK);
    ASSERT_EQ(set_diagonal_matrix(h, d, k), VRESULT_OK);
    expected.diagonal(k) = -ref;
    EXPECT_TRUE(Read(h) == expected) << k;
  }
  Vlong d = -1;
  EXPECT_EQ(get_diagonal_matrix(h, Vlong{5}, &d), VERR_CTRL_VALUE(1));

  Vlong tiled = -1, copy = -1;
  ASSERT_EQ(repeat_matrix(h, Vlong{2}, Vlong{3}, &tiled), VRESULT_OK);
  EXPECT_TRUE(Read(tiled) == expected.replicate(2, 3));
  ASSERT_EQ(copy_matrix(h, &copy), VRESULT_OK);
  ASSERT_EQ(set_full_matrix(h, VTuple(0.0)), VRESULT_OK);
  EXPECT_TRUE(Read(copy) == expected);  // the copy is independent
  EXPECT_TRUE(Read(h) == Mat::Zero(4, 5));

  EXPECT_EQ(create_matrix(Vlong{0}, Vlong{3}, 1.0, &c), VERR_CTRL_VALUE(0));
  EXPECT_EQ(create_matrix(Vlong{1} << 40, Vlong{1} << 40, 1.0, &c), VERR_TOO_LARGE);
  EXPECT_EQ(create_matrix(VTuple(Vlong{2}), VTuple(Vlong{2}), VTuple(1.0).Append(VTuple(2.0)), &c),
            VERR_CTRL_NUM(2));
  EXPECT_EQ(set_value_matrix(h, Vlong{4}, Vlong{0}, 1.0), VERR_CTRL_VALUE(1));
}

TEST_F(MatrixTest, ArithmeticInBothFormsAndProductsOfEveryTransposition) {
  const Mat a = Random(3, 4), b = Random(3, 4).cwiseAbs() + Mat::Constant(3, 4, 0.5);
  const Vlong ha = Make(a), hb = Make(b);
  Vlong r = -1;
  ASSERT_EQ(add_matrix(ha, hb, &r), VRESULT_OK);
  ExpectNear(Read(r), a + b, 0);
  ASSERT_EQ(sub_matrix(ha, hb, &r), VRESULT_OK);
  ExpectNear(Read(r), a - b, 0);
  ASSERT_EQ(mult_element_matrix(ha, hb, &r), VRESULT_OK);
  ExpectNear(Read(r), a.cwiseProduct(b), 0);
  ASSERT_EQ(div_element_matrix(ha, hb, &r), VRESULT_OK);
  ExpectNear(Read(r), a.cwiseQuotient(b), 0);
  ASSERT_EQ(pow_element_matrix(hb, ha, &r), VRESULT_OK);
  ExpectNear(Read(r), b.binaryExpr(a, [](double x, double y) { return std::pow(x, y); }), 1e-12);
  ASSERT_EQ(pow_scalar_element_matrix(hb, 1.5, &r), VRESULT_OK);
  ExpectNear(Read(r), b.array().pow(1.5).matrix(), 1e-12);
  ASSERT_EQ(abs_matrix(ha, &r), VRESULT_OK);
  ExpectNear(Read(r), a.cwiseAbs(), 0);
  ASSERT_EQ(sqrt_matrix(hb, &r), VRESULT_OK);
  ExpectNear(Read(r), b.cwiseSqrt(), 0);
  EXPECT_EQ(sqrt_matrix(ha, &r), VERR_MATRIX_FORM);
  ASSERT_EQ(transpose_matrix(ha, &r), VRESULT_OK);
  ExpectNear(Read(r), a.transpose(), 0);

  const Mat sq = Random(4, 4), other = Random(4, 4);
  const Vlong hs = Make(sq), ho = Make(other);
  const struct {
    const char* type;
    Mat expected;
  } products[] = {{"AB", sq * other},
                  {"ATB", sq.transpose() * other},
                  {"ABT", sq * other.transpose()},
                  {"ATBT", sq.transpose() * other.transpose()}};
  for (const auto& p : products) {
    ASSERT_EQ(mult_matrix(hs, ho, p.type, &r), VRESULT_OK);
    ExpectNear(Read(r), p.expected, 1e-12);
  }
  EXPECT_EQ(mult_matrix(ha, hb, "AB", &r), VERR_MATRIX_SIZE);
  EXPECT_EQ(mult_matrix(ha, hb, "ATB", &r), VRESULT_OK);
  EXPECT_EQ(mult_matrix(ha, hb, "BA", &r), VERR_CTRL_VALUE(2));

  // The _mod forms change their first input and nothing else.
  ASSERT_EQ(add_matrix_mod(ha, hb), VRESULT_OK);
  ExpectNear(Read(ha), a + b, 0);
  ExpectNear(Read(hb), b, 0);
  ASSERT_EQ(transpose_matrix_mod(ha), VRESULT_OK);
  ExpectNear(Read(ha), (a + b).transpose(), 0);
  EXPECT_EQ(sub_matrix_mod(ha, hb), VERR_MATRIX_SIZE);
  ASSERT_EQ(mult_matrix_mod(hs, ho, "ABT"), VRESULT_OK);
  ExpectNear(Read(hs), sq * other.transpose(), 1e-12);
}

TEST_F(MatrixTest, ReductionsAndNorms) {
  const Mat a = Random(3, 5);
  const Vlong h = Make(a);
  Vlong r = -1;
  const struct {
    const char* op;
    Mat columns, rows;
    double full;
  } cases[] = {
      {"sum", a.colwise().sum(), a.rowwise().sum(), a.sum()},
      {"mean", a.colwise().mean(), a.rowwise().mean(), a.mean()},
      {"max", a.colwise().maxCoeff(), a.rowwise().maxCoeff(), a.maxCoeff()},
      {"min", a.colwise().minCoeff(), a.rowwise().minCoeff(), a.minCoeff()},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.op);
    const std::string op = c.op;
    auto run = [&](const char* type) {
      if (op == "sum") return sum_matrix(h, type, &r);
      if (op == "mean") return mean_matrix(h, type, &r);
      if (op == "max") return max_matrix(h, type, &r);
      return min_matrix(h, type, &r);
    };
    ASSERT_EQ(run("columns"), VRESULT_OK);
    ExpectNear(Read(r), c.columns, 1e-12);
    ASSERT_EQ(run("rows"), VRESULT_OK);
    ExpectNear(Read(r), c.rows, 1e-12);
    ASSERT_EQ(run("full"), VRESULT_OK);
    ExpectNear(Read(r), Mat::Constant(1, 1, c.full), 1e-12);
    EXPECT_EQ(run("diagonal"), VERR_CTRL_VALUE(1));
  }
  double n = 0;
  ASSERT_EQ(norm_matrix(h, "frobenius_norm", &n), VRESULT_OK);
  EXPECT_NEAR(n, std::sqrt(a.array().square().sum()), 1e-12);
  ASSERT_EQ(norm_matrix(h, "infinity_norm", &n), VRESULT_OK);
  EXPECT_NEAR(n, a.cwiseAbs().rowwise().sum().maxCoeff(), 1e-12);
  ASSERT_EQ(norm_matrix(h, "1-norm", &n), VRESULT_OK);
  EXPECT_NEAR(n, a.cwiseAbs().colwise().sum().maxCoeff(), 1e-12);
  ASSERT_EQ(norm_matrix(h, "2-norm", &n), VRESULT_OK);
  EXPECT_NEAR(n, std::sqrt(Eigen::SelfAdjointEigenSolver<Mat>(a * a.transpose()).eigenvalues().maxCoeff()),
              1e-9);
}

TEST_F(MatrixTest, InversesSolutionsAndDeterminantsOfEveryType) {
  const int n = 5;
  const Mat general = Random(n, n) + 3 * Mat::Identity(n, n);
  const Mat spd = SymmetricPositive(n);
  Mat tri = Mat::Zero(n, n), upper = general.triangularView<Eigen::Upper>();
  for (int i = 0; i < n; ++i) {
    tri(i, i) = 4 + i;
    if (i + 1 < n) tri(i, i + 1) = tri(i + 1, i) = 1 - 0.3 * i;
  }
  const Mat lower = upper.transpose();
  const Mat rhs = Random(n, 2);
  const struct {
    const char* type;
    Mat m;
  } cases[] = {{"general", general}, {"symmetric", spd - 8 * Mat::Identity(n, n)},
               {"positive_definite", spd}, {"tridiagonal", tri},
               {"upper_triangular", upper}, {"lower_triangular", lower}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.type);
    const Vlong h = Make(c.m), hr = Make(rhs);
    Vlong r = -1;
    ASSERT_EQ(invert_matrix(h, c.type, 0.0, &r), VRESULT_OK);
    ExpectNear(Read(r) * c.m, Mat::Identity(n, n), 1e-9);
    ASSERT_EQ(solve_matrix(h, c.type, 0.0, hr, &r), VRESULT_OK);
    ExpectNear(c.m * Read(r), rhs, 1e-9);
    double det = 0;
    ASSERT_EQ(determinant_matrix(h, c.type, &det), VRESULT_OK);
    EXPECT_NEAR(det, c.m.determinant(), 1e-9 * std::abs(c.m.determinant()));
    ASSERT_EQ(invert_matrix_mod(h, c.type, 0.0), VRESULT_OK);
    ExpectNear(Read(h), c.m.inverse(), 1e-9);
  }

  // Stated types are checked.
  const Vlong hg = Make(general);
  Vlong r = -1;
  EXPECT_EQ(invert_matrix(hg, "symmetric", 0.0, &r), VERR_MATRIX_FORM);
  EXPECT_EQ(invert_matrix(hg, "upper_triangular", 0.0, &r), VERR_MATRIX_FORM);
  EXPECT_EQ(invert_matrix(Make(spd - 100 * Mat::Identity(n, n)), "positive_definite", 0.0, &r),
            VERR_MATRIX_FORM);
  Mat singular = general;
  singular.row(2) = singular.row(0) + singular.row(1);
  EXPECT_EQ(invert_matrix(Make(singular), "general", 0.0, &r), VERR_MATRIX_SINGULAR);
  EXPECT_EQ(invert_matrix(Make(Random(2, 3)), "general", 0.0, &r), VERR_MATRIX_SIZE);
  EXPECT_EQ(invert_matrix(hg, "general", -1.0, &r), VERR_CTRL_VALUE(2));
  EXPECT_EQ(invert_matrix(hg, "diagonal", 0.0, &r), VERR_CTRL_VALUE(1));

  // With epsilon: the pseudo-inverse, which satisfies the Moore-Penrose
  // conditions also for singular and non-square matrices.
  for (const Mat& m : {singular, Mat(Random(4, 2)), Mat(Random(2, 4))}) {
    ASSERT_EQ(invert_matrix(Make(m), "general", 1e-10, &r), VRESULT_OK);
    const Mat p = Read(r);
    ExpectNear(m * p * m, m, 1e-9);
    ExpectNear(p * m * p, p, 1e-9);
    ExpectNear((m * p).transpose(), m * p, 1e-9);
  }
  // An overdetermined system: the least-squares solution.
  const Mat tall = Random(8, 3), b = Random(8, 1);
  ASSERT_EQ(solve_matrix(Make(tall), "general", 0.0, Make(b), &r), VRESULT_OK);
  ExpectNear(Read(r), (tall.transpose() * tall).ldlt().solve(tall.transpose() * b), 1e-9);
  EXPECT_EQ(solve_matrix(hg, "general", 0.0, Make(Random(3, 1)), &r), VERR_MATRIX_SIZE);
}

TEST_F(MatrixTest, PowersWholeAndFractional) {
  const Mat a = Random(4, 4) + 3 * Mat::Identity(4, 4);
  const Vlong h = Make(a);
  Vlong r = -1;
  ASSERT_EQ(pow_matrix(h, "general", 3.0, &r), VRESULT_OK);
  ExpectNear(Read(r), a * a * a, 1e-9);
  ASSERT_EQ(pow_matrix(h, "general", -2.0, &r), VRESULT_OK);
  ExpectNear(Read(r), (a * a).inverse(), 1e-9);
  ASSERT_EQ(pow_matrix(h, "general", 0.0, &r), VRESULT_OK);
  ExpectNear(Read(r), Mat::Identity(4, 4), 0);
  EXPECT_EQ(pow_matrix(h, "general", 0.5, &r), VERR_MATRIX_FORM);
  const Mat spd = SymmetricPositive(4);
  const Vlong hs = Make(spd);
  ASSERT_EQ(pow_matrix(hs, "positive_definite", 0.5, &r), VRESULT_OK);
  const Mat root = Read(r);
  ExpectNear(root * root, spd, 1e-9);
  ExpectNear(root, root.transpose(), 1e-12);
  ASSERT_EQ(pow_matrix_mod(hs, "symmetric", -0.5), VRESULT_OK);
  ExpectNear(Read(hs) * root * root * Read(hs), Mat::Identity(4, 4), 1e-9);
}

TEST_F(MatrixTest, EigenvaluesSingularValuesAndFactorsSatisfyTheirDefinitions) {
  const Mat spd = SymmetricPositive(5), sym = spd - 6 * Mat::Identity(5, 5);
  Vlong values = -1, vectors = -1;
  ASSERT_EQ(eigenvalues_symmetric_matrix(Make(sym), "true", &values, &vectors), VRESULT_OK);
  const Mat lambda = Read(values), v = Read(vectors);
  ExpectNear(lambda, Eigen::SelfAdjointEigenSolver<Mat>(sym).eigenvalues(), 1e-9);
  for (int i = 1; i < 5; ++i) EXPECT_LE(lambda(i - 1), lambda(i));
  ExpectNear(sym * v, v * lambda.col(0).asDiagonal(), 1e-9);
  ASSERT_EQ(eigenvalues_symmetric_matrix(Make(sym), "false", &values, &vectors), VRESULT_OK);
  EXPECT_EQ(vectors, -1);
  EXPECT_EQ(eigenvalues_symmetric_matrix(Make(Random(3, 3)), "true", &values, &vectors),
            VERR_MATRIX_FORM);

  const Mat g = Random(4, 4);
  Vlong re = -1, im = -1, vre = -1, vim = -1;
  ASSERT_EQ(eigenvalues_general_matrix(Make(g), "true", &re, &im, &vre, &vim), VRESULT_OK);
  Eigen::MatrixXcd vc(4, 4);
  vc.real() = Read(vre);
  vc.imag() = Read(vim);
  Eigen::VectorXcd lc(4);
  lc.real() = Read(re).col(0);
  lc.imag() = Read(im).col(0);
  EXPECT_LE((g.cast<std::complex<double>>() * vc - vc * lc.asDiagonal()).cwiseAbs().maxCoeff(), 1e-9);

  Vlong gv = -1, gvec = -1;
  ASSERT_EQ(generalized_eigenvalues_symmetric_matrix(Make(sym), Make(spd), "true", &gv, &gvec),
            VRESULT_OK);
  ExpectNear(sym * Read(gvec), spd * Read(gvec) * Read(gv).col(0).asDiagonal(), 1e-8);

  for (const Mat& m : {Mat(Random(5, 3)), Mat(Random(3, 5))}) {
    for (const char* type : {"full", "reduced"}) {
      Vlong u = -1, s = -1, w = -1;
      ASSERT_EQ(svd_matrix(Make(m), type, "both", &u, &s, &w), VRESULT_OK);
      const Mat U = Read(u), S = Read(s), V = Read(w);
      ExpectNear(S, Eigen::JacobiSVD<Mat>(m).singularValues(), 1e-9);
      const int k = static_cast<int>(S.rows());
      ExpectNear(U.leftCols(k) * S.col(0).asDiagonal() * V.leftCols(k).transpose(), m, 1e-9);
      EXPECT_EQ(U.cols(), std::string(type) == "full" ? m.rows() : k);
    }
  }
  Vlong u = -1, s = -1, w = -1;
  ASSERT_EQ(svd_matrix(Make(g), "full", "none", &u, &s, &w), VRESULT_OK);
  EXPECT_EQ(u, -1);
  EXPECT_EQ(w, -1);

  Vlong m1 = -1, m2 = -1;
  ASSERT_EQ(decompose_matrix(Make(g), "general", &m1, &m2), VRESULT_OK);
  ExpectNear(Read(m1) * Read(m2), g, 1e-12);
  EXPECT_TRUE(Read(m2).isUpperTriangular());
  ASSERT_EQ(decompose_matrix(Make(spd), "positive_definite", &m1, &m2), VRESULT_OK);
  EXPECT_TRUE(Read(m1).isLowerTriangular());
  ExpectNear(Read(m1) * Read(m2), spd, 1e-9);
  ASSERT_EQ(decompose_matrix(Make(sym), "symmetric", &m1, &m2), VRESULT_OK);
  ExpectNear(Read(m1) * Read(m2) * Read(m1).transpose(), sym, 1e-9);
  EXPECT_TRUE(Read(m2).isDiagonal());

  for (const char* type : {"qr", "lq"}) {
    const Mat m = Random(5, 3);
    Vlong q = -1, t = -1;
    ASSERT_EQ(orthogonal_decompose_matrix(Make(m), type, "reduced", "true", &q, &t), VRESULT_OK);
    const Mat Q = Read(q), T = Read(t);
    if (std::string(type) == "qr") {
      ExpectNear(Q * T, m, 1e-12);
      ExpectNear(Q.transpose() * Q, Mat::Identity(3, 3), 1e-12);
      EXPECT_TRUE(T.isUpperTriangular());
    } else {
      ExpectNear(T * Q, m, 1e-12);
      ExpectNear(Q * Q.transpose(), Mat::Identity(3, 3), 1e-12);
      EXPECT_TRUE(T.isLowerTriangular());
    }
  }
}

TEST_F(MatrixTest, MatricesThroughItemsAndFilesComeBackExactly) {
  const Mat a = Random(3, 7) * 1e5;
  const Vlong h = Make(a);
  Vlong item = -1, back = -1;
  ASSERT_EQ(serialize_matrix(h, &item), VRESULT_OK);
  ASSERT_EQ(deserialize_matrix(item, &back), VRESULT_OK);
  EXPECT_TRUE(Read(back) == a);
  EXPECT_EQ(deserialize_matrix(h, &back), VERR_HANDLE_TYPE);
  Vlong tuple_item = -1;
  ASSERT_EQ(serialize_tuple(VTuple(1.0), &tuple_item), VRESULT_OK);
  EXPECT_EQ(deserialize_matrix(tuple_item, &back), VERR_DATA_KIND);

  const std::string path =
      std::filesystem::temp_directory_path() / ("matrix_test_" + std::to_string(getpid()));
  for (const char* format : {"binary", "ascii"}) {
    ASSERT_EQ(write_matrix(h, format, path.c_str()), VRESULT_OK);
    ASSERT_EQ(read_matrix(path.c_str(), &back), VRESULT_OK);
    EXPECT_TRUE(Read(back) == a) << format;
  }
  std::ofstream(path) << "2 2\n1 2\n3";
  EXPECT_EQ(read_matrix(path.c_str(), &back), VERR_FILE_TRUNCATED);
  std::ofstream(path) << "2 2\n1 2\n3 x";
  EXPECT_EQ(read_matrix(path.c_str(), &back), VERR_FILE_CORRUPT);
  EXPECT_EQ(write_matrix(h, "xml", path.c_str()), VERR_CTRL_VALUE(1));
  std::filesystem::remove(path);
  EXPECT_EQ(read_matrix(path.c_str(), &back), VERR_FILE_NOT_FOUND);
  EXPECT_EQ(clear_matrix(h), VRESULT_OK);
  EXPECT_EQ(get_full_matrix(h, static_cast<VTuple*>(nullptr)), VERR_HANDLE_CLOSED);
}

}  // namespace
