// Operators that combine the channels of a multi-channel image pixel by
// pixel: rank_n, mean_n, linear_trans_color, select_grayvalues_from_channels
// and the principal component transform (gen_principal_comp_trans,
// principal_comp). Only the domain is computed; the result keeps the
// input's domain.
#include <Eigen/Dense>

#include <algorithm>
#include <vector>

#include "image_op_util.h"
#include "ops/common/domain_scan.h"
#include "ops/common/pixel_dispatch.h"
#include "registry.h"

namespace vexa {
namespace {

// Domain runs longer than this are gathered in pieces.
constexpr size_t kPiece = 4096;

// Reads pixels o..o+n-1 of `channel` as doubles into `to`.
void ReadRun(const PixelBuffer& channel, size_t o, size_t n, double* to) {
  DispatchPixelType(channel.type(), [&](auto tag) {
    const auto* p = PixelsOf(channel, tag);
    for (size_t k = 0; k < n; ++k) to[k] = static_cast<double>(p[o + k]);
  });
}

// Stores `from` (rounded, clipped) into pixels o..o+n-1 of `channel`.
void WriteRun(PixelBuffer* channel, size_t o, size_t n, const double* from) {
  DispatchPixelType(channel->type(), [&](auto tag) {
    auto* p = PixelsOf(channel, tag);
    for (size_t k = 0; k < n; ++k) p[o + k] = StorePixel<decltype(tag)::kType>(from[k]);
  });
}

// fn(const double* in, size_t pixel) for the channel values of every domain
// pixel of `image`, `pixel` its buffer offset.
template <class Fn>
void ForEachPixelVector(const db::ImageData& image, Fn&& fn) {
  const size_t n = image.channels.size();
  std::vector<double> rows(n * kPiece), in(n);
  DomainScan::Of(image).ForEachRun([&](size_t o, size_t len) {
    for (size_t start = 0; start < len; start += kPiece) {
      const size_t m = std::min(kPiece, len - start);
      for (size_t c = 0; c < n; ++c) ReadRun(*image.channels[c], o + start, m, &rows[c * kPiece]);
      for (size_t k = 0; k < m; ++k) {
        for (size_t c = 0; c < n; ++c) in[c] = rows[c * kPiece + k];
        fn(in.data(), o + start + k);
      }
    }
  });
}

// A new image of `num_out` channels of `type` under `image`'s domain whose
// domain pixels are fn(in, out, pixel) of the input channel values.
template <class Fn>
Vresult MixChannels(const db::ImageData& image, size_t num_out, PixelType type, Fn&& fn,
                    NewKeys* out) {
  const PixelBuffer& first = *image.channels[0];
  for (const PixelBuffer* ch : image.channels)
    if (ch->type() == PixelType::kComplex) return VERR_PIXEL_TYPE;
  Vkey key = VKEY_UNDEF;
  Vresult rc = db::NewBlankImage(type, first.width(), first.height(), static_cast<int>(num_out),
                                 image.domain, &key);
  if (rc != VRESULT_OK) return rc;
  out->Add(key);
  std::vector<PixelBuffer*> dst(num_out);
  for (size_t c = 0; c < num_out && rc == VRESULT_OK; ++c)
    rc = db::WritableChannel(key, static_cast<int>(c), &dst[c]);
  if (rc != VRESULT_OK) return rc;
  std::vector<double> values(num_out);
  ForEachPixelVector(image, [&](const double* in, size_t pixel) {
    fn(in, values.data(), pixel);
    for (size_t c = 0; c < num_out; ++c) WriteRun(dst[c], pixel, 1, &values[c]);
  });
  return VRESULT_OK;
}

// MixChannels for every image of input 1 into output 1; `shape(image,
// &num_out, &type)` decides the result's channels and may refuse the image.
template <class Shape, class Fn>
Vresult MixEach(OpContext& ctx, Shape&& shape, Fn&& fn) {
  NewKeys out;
  const Vresult rc = ctx.ForEachInpObj(1, [&](Vkey key, Vlong) {
    db::ImageData image;
    Vresult r = InpImage(1, key, &image);
    size_t num_out = 0;
    PixelType type = PixelType::kByte;
    if (r == VRESULT_OK) r = shape(image, &num_out, &type);
    if (r == VRESULT_OK) r = MixChannels(image, num_out, type, fn, &out);
    return r;
  });
  return rc == VRESULT_OK ? out.HandOver(ctx, 1) : rc;
}

// One channel of the input's type.
Vresult OneChannelOfInputType(const db::ImageData& image, size_t* num_out, PixelType* type) {
  *num_out = 1;
  *type = image.channels[0]->type();
  return VRESULT_OK;
}

// The principal axes of the channel values of `images` (all pixels of all
// domains, images of one channel count n): mean, covariance (divided by
// the pixel count) and the eigenvectors as rows, largest variance first,
// with the variances.
struct Components {
  Eigen::VectorXd mean;
  Eigen::MatrixXd covariance, axes;
  Eigen::VectorXd variances;
};

Vresult PrincipalComponents(const std::vector<db::ImageData>& images, Components* pc) {
  const auto n = static_cast<Eigen::Index>(images[0].channels.size());
  Eigen::VectorXd sum = Eigen::VectorXd::Zero(n);
  Eigen::MatrixXd products = Eigen::MatrixXd::Zero(n, n);
  double count = 0;
  for (const db::ImageData& image : images) {
    if (static_cast<Eigen::Index>(image.channels.size()) != n) return VERR_CHANNEL;
    for (const PixelBuffer* ch : image.channels)
      if (ch->type() == PixelType::kComplex) return VERR_PIXEL_TYPE;
    ForEachPixelVector(image, [&](const double* in, size_t) {
      const Eigen::Map<const Eigen::VectorXd> x(in, n);
      sum += x;
      products.noalias() += x * x.transpose();
      count += 1;
    });
  }
  if (count == 0) return VERR_EMPTY_OBJECT;
  pc->mean = sum / count;
  pc->covariance = products / count - pc->mean * pc->mean.transpose();
  Eigen::SelfAdjointEigenSolver<Eigen::MatrixXd> solver(pc->covariance);
  // Ascending from the solver; reversed so that the first axis carries the
  // most variance.
  pc->variances = solver.eigenvalues().reverse().cwiseMax(0.0);
  pc->axes = solver.eigenvectors().rowwise().reverse().transpose();
  return VRESULT_OK;
}

// The affine map out = axes (x - mean) as the rows of an n x (n + 1) matrix
// (row-major, the last column the offset), the form linear_trans_color
// reads, and its inverse x = mean + axes^T out.
std::vector<double> ForwardMatrix(const Components& pc) {
  const Eigen::Index n = pc.mean.size();
  std::vector<double> m;
  for (Eigen::Index i = 0; i < n; ++i) {
    for (Eigen::Index j = 0; j < n; ++j) m.push_back(pc.axes(i, j));
    m.push_back(-pc.axes.row(i).dot(pc.mean));
  }
  return m;
}

std::vector<double> InverseMatrix(const Components& pc) {
  const Eigen::Index n = pc.mean.size();
  std::vector<double> m;
  for (Eigen::Index j = 0; j < n; ++j) {
    for (Eigen::Index i = 0; i < n; ++i) m.push_back(pc.axes(i, j));
    m.push_back(pc.mean[j]);
  }
  return m;
}

// The share of the total variance each component carries (0 throughout
// when the values do not vary).
std::vector<double> InfoPerComponent(const Components& pc) {
  const double total = pc.variances.sum();
  std::vector<double> info;
  for (Eigen::Index i = 0; i < pc.variances.size(); ++i)
    info.push_back(total > 0 ? pc.variances[i] / total : 0.0);
  return info;
}

// The linear map of a row-major m x (n + 1) matrix applied to the channel
// values: out_i = sum_j M[i][j] x_j + M[i][n].
struct LinearMap {
  std::vector<double> matrix;
  size_t n = 0, m = 0;

  void operator()(const double* in, double* out, size_t) const {
    for (size_t i = 0; i < m; ++i) {
      const double* row = &matrix[i * (n + 1)];
      double v = row[n];
      for (size_t j = 0; j < n; ++j) v += row[j] * in[j];
      out[i] = v;
    }
  }
};

}  // namespace

// The rank_index-th smallest of a pixel's channel values (1: the least,
// the channel count: the largest), in the input's type.
VEXA_OPERATOR(rank_n) {
  Vlong rank = 0;
  const Vresult rc = ctx.GetLong(0, &rank);
  if (rc != VRESULT_OK) return rc;
  if (rank < 1) return VERR_CTRL_VALUE(0);
  std::vector<double> sorted;
  return MixEach(
      ctx,
      [&](const db::ImageData& image, size_t* num_out, PixelType* type) {
        if (rank > static_cast<Vlong>(image.channels.size())) return VERR_CTRL_VALUE(0);
        sorted.resize(image.channels.size());
        return OneChannelOfInputType(image, num_out, type);
      },
      [&](const double* in, double* out, size_t) {
        std::copy(in, in + sorted.size(), sorted.begin());
        const auto at = sorted.begin() + (rank - 1);
        std::nth_element(sorted.begin(), at, sorted.end());
        out[0] = *at;
      });
}

// The mean of a pixel's channel values, rounded to the input's type.
VEXA_OPERATOR(mean_n) {
  size_t channels = 0;
  return MixEach(
      ctx,
      [&](const db::ImageData& image, size_t* num_out, PixelType* type) {
        channels = image.channels.size();
        return OneChannelOfInputType(image, num_out, type);
      },
      [&](const double* in, double* out, size_t) {
        double sum = 0;
        for (size_t c = 0; c < channels; ++c) sum += in[c];
        out[0] = sum / static_cast<double>(channels);
      });
}

// A real image of m channels out_i = sum_j M[i][j] x_j + M[i][n] from the n
// channels x of the input; trans_mat holds the m x (n + 1) matrix row by
// row (its length a multiple of n + 1).
VEXA_OPERATOR(linear_trans_color) {
  LinearMap map;
  const Vresult rc = ctx.GetDoubles(0, map.matrix);
  if (rc != VRESULT_OK) return rc;
  return MixEach(
      ctx,
      [&](const db::ImageData& image, size_t* num_out, PixelType* type) {
        map.n = image.channels.size();
        if (map.matrix.empty() || map.matrix.size() % (map.n + 1) != 0) return VERR_CTRL_NUM(0);
        map.m = map.matrix.size() / (map.n + 1);
        *num_out = map.m;
        *type = PixelType::kReal;
        return VRESULT_OK;
      },
      map);
}

// Per pixel the value of the channel that index_image (input 2, one
// image, integer values) names, counted from 1; pixels whose index names
// no channel are 0. The result has the multi-channel image's type.
VEXA_OPERATOR(select_grayvalues_from_channels) {
  Vkey index_key = VKEY_UNDEF;
  db::ImageData index;
  Vresult rc = ctx.InpObjSingle(2, &index_key);
  if (rc == VRESULT_OK) rc = InpImage(2, index_key, &index);
  if (rc != VRESULT_OK) return rc;
  const PixelBuffer& idx = *index.channels[0];
  if (idx.type() == PixelType::kReal || idx.type() == PixelType::kComplex) return VERR_PIXEL_TYPE;
  size_t channels = 0;
  return MixEach(
      ctx,
      [&](const db::ImageData& image, size_t* num_out, PixelType* type) {
        if (!SameSize(*image.channels[0], idx)) return VERR_IMAGE_SIZE;
        channels = image.channels.size();
        return OneChannelOfInputType(image, num_out, type);
      },
      [&](const double* in, double* out, size_t pixel) {
        double k = 0;
        ReadRun(idx, pixel, 1, &k);
        out[0] = k >= 1 && k <= static_cast<double>(channels) ? in[static_cast<size_t>(k) - 1] : 0.0;
      });
}

// The principal component transform of the channel values of all pixels
// of all input images: trans and trans_inv as n x (n + 1) matrices for
// linear_trans_color, the mean, the covariance (n x n, row by row) and
// each component's share of the variance, largest first.
VEXA_OPERATOR(gen_principal_comp_trans) {
  std::vector<db::ImageData> images;
  Vresult rc = ctx.ForEachInpObj(1, [&](Vkey key, Vlong) {
    db::ImageData image;
    const Vresult r = InpImage(1, key, &image);
    if (r == VRESULT_OK) images.push_back(image);
    return r;
  });
  if (rc != VRESULT_OK) return rc;
  if (images.empty()) return VERR_OBJ_NUM(1);
  Components pc;
  if ((rc = PrincipalComponents(images, &pc)) != VRESULT_OK) return rc;
  std::vector<double> covariance;
  for (Eigen::Index i = 0; i < pc.covariance.rows(); ++i)
    for (Eigen::Index j = 0; j < pc.covariance.cols(); ++j) covariance.push_back(pc.covariance(i, j));
  rc = ctx.SetOutpDoubles(0, ForwardMatrix(pc));
  if (rc == VRESULT_OK) rc = ctx.SetOutpDoubles(1, InverseMatrix(pc));
  if (rc == VRESULT_OK) rc = ctx.SetOutpDoubles(2, std::vector<double>(pc.mean.data(), pc.mean.data() + pc.mean.size()));
  if (rc == VRESULT_OK) rc = ctx.SetOutpDoubles(3, covariance);
  return rc == VRESULT_OK ? ctx.SetOutpDoubles(4, InfoPerComponent(pc)) : rc;
}

// The image in its own principal components (a real image of as many
// channels), with each component's share of the variance.
VEXA_OPERATOR(principal_comp) {
  Vkey key = VKEY_UNDEF;
  db::ImageData image;
  Vresult rc = ctx.InpObjSingle(1, &key);
  if (rc == VRESULT_OK) rc = InpImage(1, key, &image);
  Components pc;
  if (rc == VRESULT_OK) rc = PrincipalComponents({image}, &pc);
  if (rc != VRESULT_OK) return rc;
  LinearMap map{ForwardMatrix(pc), image.channels.size(), image.channels.size()};
  NewKeys out;
  rc = MixChannels(image, map.m, PixelType::kReal, map, &out);
  if (rc == VRESULT_OK) rc = out.HandOver(ctx, 1);
  return rc == VRESULT_OK ? ctx.SetOutpDoubles(0, InfoPerComponent(pc)) : rc;
}

}  // namespace vexa
