// Contours and polygons: growable sequences of real points, and growable
// sequences of those. All eight classes share one pattern of indexing,
// slicing and growth (VPointSequence below): reading out of range fails,
// writing out of range grows, a slice is inclusive at both ends.
// No algorithm treats the last and first points as joined, for polygons
// neither.
#ifndef VEXAOBJ_VCONTOUR_H
#define VEXAOBJ_VCONTOUR_H

#include <new>
#include <string>

#include <vexaobj/VBase.h>
#include <vexaobj/VPrimitives.h>

namespace Vexa {

class VTuple;
class VWindow;
class VAffineTrans;
class VXLDCont;
class VXLDPoly;
class VXLDContArray;
class VXLDPolyArray;
class VXLDParaArray;
class VXLDModParaArray;
class VXLDExtParaArray;

// Abstract roots: a point sequence is a spatial object and, virtually, an
// array with the growth rule of every array class.
class VContour : public VSpatialObject, public virtual VBaseArray {
 public:
  const char* ClassName() const override = 0;
  ~VContour() override = default;
  virtual int IsClosed() const { return 0; }
  // Sum of the lengths of the count - 1 segments.
  virtual double Length() const = 0;
  // Distance of `p` to the nearest segment; `index` names that segment's
  // first point (the lowest one on a tie).
  virtual double Distance(const VPoint& p, Vlong& index) const = 0;
};

class VPolygon : public VSpatialObject, public virtual VBaseArray {
 public:
  const char* ClassName() const override = 0;
  ~VPolygon() override = default;
  virtual int IsClosed() const { return 0; }
  virtual double Length() const = 0;
  virtual double Distance(const VPoint& p, Vlong& index) const = 0;
};

class VContourArray : public VSpatialObject, public virtual VBaseArray {
 public:
  const char* ClassName() const override = 0;
  ~VContourArray() override = default;
};

class VPolygonArray : public VSpatialObject, public virtual VBaseArray {
 public:
  const char* ClassName() const override = 0;
  ~VPolygonArray() override = default;
};

namespace internal {

// Reports a failure of the sequence classes (source "VPrimitives").
void RaiseSequence(const char* function, const char* format, Vlong a, Vlong b);

// The element storage and access shared by the eight sequence classes.
// `Self` is the concrete class (it names itself through kName and its
// element through kElementName), `Root` its abstract root, `Element` the
// element type.
template <class Self, class Root, class Element>
class VPointSequence : public Root {
 public:
  VPointSequence() : data(nullptr) { this->EmptyArray(); }
  VPointSequence(const Element* elements, Vlong n) : VPointSequence() { CopyIn(elements, n); }
  VPointSequence(const VPointSequence& other) : VBaseArray(), Root(), data(nullptr) {
    this->EmptyArray();
    CopyIn(other.data, other.num);
  }
  VPointSequence& operator=(const VPointSequence& other) {
    if (this != &other) {
      Release();
      CopyIn(other.data, other.num);
    }
    return *this;
  }
  ~VPointSequence() override { Release(); }

  const char* ClassName() const override { return Self::kName; }

  // Read access; out of range fails with the count in the message. If the
  // reaction returns, a default element stands in for the missing one.
  const Element& operator[](Vlong index) const {
    if (index < 0 || index >= this->num) {
      RaiseSequence(Text(" const &", "::operator[] (Vlong index) const").c_str(),
                    "Index out of range: %lld, range = (0,%lld)", index, this->num);
      static const Element missing;
      return missing;
    }
    return data[index];
  }
  // Write access; an index at or past the end grows the sequence to it.
  Element& operator[](Vlong index) {
    if (index < 0) {
      RaiseSequence(Text(" &", "::operator[] (Vlong index)").c_str(), "negative Index: %lld",
                    index, 0);
      // The reaction returned: a scratch element takes the write.
      static Element scratch;
      scratch = Element();
      return scratch;
    }
    if (index >= this->num) this->Extend(index);
    return data[index];
  }
  // Elements min..max, both inclusive, re-indexed from 0.
  Self operator()(Vlong min, Vlong max) const {
    const std::string function =
        std::string(Self::kName) + " " + Self::kName + "::operator()(Vlong min, Vlong max)";
    if (min < 0) RaiseSequence(function.c_str(), "negative Value for Parameter 'min'", 0, 0);
    if (max >= this->num)
      RaiseSequence(function.c_str(), "Parameter 'max' exceeds number of elements", 0, 0);
    if (max < min) RaiseSequence(function.c_str(), "'max' < 'min'", 0, 0);
    Self result;
    // After a reaction that returned, a range outside the elements gives
    // the empty result.
    if (min < 0 || max >= this->num) return result;
    // From the top down, so that the first write grows the result once.
    for (Vlong i = max; i >= min; --i) result[i - min] = (*this)[i];
    return result;
  }
  Self& Append(const Element& e) {
    this->Extend(this->num);
    data[this->num - 1] = e;
    return static_cast<Self&>(*this);
  }
  Self& Append(const Self& other) {
    const Vlong n = other.num;
    if (n == 0) return static_cast<Self&>(*this);
    const Vlong start = this->num;
    this->Extend(start + n - 1);
    for (Vlong i = 0; i < n; ++i) data[start + i] = other.data[i];
    return static_cast<Self&>(*this);
  }

 protected:
  Element* data;

 private:
  static std::string Text(const char* middle, const char* tail) {
    return std::string(Self::kElementName) + middle + Self::kName + tail;
  }
  void CopyIn(const Element* elements, Vlong n) {
    if (n <= 0) return;
    this->Extend(n - 1);
    for (Vlong i = 0; i < n; ++i) data[i] = elements[i];
  }
  void Release() {
    delete[] data;
    data = nullptr;
    this->EmptyArray();
  }
  void NewLength(Vlong new_num, Vlong old_num) override {
    Element* grown = new (std::nothrow) Element[new_num];
    if (grown == nullptr) RaiseSequence(Self::kName, "Out of memory", 0, 0);
    for (Vlong i = 0; i < old_num; ++i) grown[i] = data[i];
    delete[] data;
    data = grown;
  }
};

}  // namespace internal

// ---- Point sequences ---------------------------------------------------------

// The geometry of a sequence of points: segment lengths, nearest segment,
// display as one polyline, transformation point by point.
template <class Self, class Root, class Point>
class VPointPath : public internal::VPointSequence<Self, Root, Point> {
  using Base = internal::VPointSequence<Self, Root, Point>;

 public:
  using Base::Base;
  VPointPath() = default;

  double Length() const override;
  double Distance(const VPoint& p, Vlong& index) const override;
  // The closest point of the nearest segment; `index` names its first point.
  Point ClosestPoint(const VPoint& p, Vlong& index) const;
  void Transform(const VAffineTrans& t) override;
  void Display(const VWindow& w) const override;

 protected:
  // Index of the nearest segment and its closest point to `p`; the largest
  // finite single-precision number as distance when there is no segment.
  double Nearest(const VPoint& p, Vlong* index, Point* closest) const;
};

class VContour2D : public VPointPath<VContour2D, VContour, VPoint2D> {
 public:
  static constexpr const char* kName = "VContour2D";
  static constexpr const char* kElementName = "VPoint2D";
  VContour2D() = default;
  VContour2D(VPoint2D* points, Vlong n) : VPointPath(points, n) {}
  // Point i takes y from rows[i] and x from columns[i]; the length of
  // `columns` sets the count.
  VContour2D(const VTuple& rows, const VTuple& columns);
  // The points of the runtime's contour, by get_contour_xld.
  explicit VContour2D(const VXLDCont& contour);
};

class VContour3D : public VPointPath<VContour3D, VContour, VPoint3D> {
 public:
  static constexpr const char* kName = "VContour3D";
  static constexpr const char* kElementName = "VPoint3D";
  VContour3D() = default;
  VContour3D(VPoint3D* points, Vlong n) : VPointPath(points, n) {}
};

class VPolygon2D : public VPointPath<VPolygon2D, VPolygon, VPoint2D> {
 public:
  static constexpr const char* kName = "VPolygon2D";
  static constexpr const char* kElementName = "VPoint2D";
  VPolygon2D() = default;
  VPolygon2D(VPoint2D* points, Vlong n) : VPointPath(points, n) {}
  VPolygon2D(const VTuple& rows, const VTuple& columns);
  // Takes the contour's points.
  VPolygon2D(const VContour2D& contour);
  // The points of the runtime's polygon, by get_polygon_xld.
  explicit VPolygon2D(const VXLDPoly& polygon);
  // 1 at the first segment, in index order, that the line crosses; the
  // closing segment is not tried.
  int Intersects(const VLine2D& line) const;
};

class VPolygon3D : public VPointPath<VPolygon3D, VPolygon, VPoint3D> {
 public:
  static constexpr const char* kName = "VPolygon3D";
  static constexpr const char* kElementName = "VPoint3D";
  VPolygon3D() = default;
  VPolygon3D(VPoint3D* points, Vlong n) : VPointPath(points, n) {}
};

// ---- Sequences of sequences --------------------------------------------------

// Transform and Display of an array apply to each element in index order.
template <class Self, class Root, class Element>
class VPathArray : public internal::VPointSequence<Self, Root, Element> {
  using Base = internal::VPointSequence<Self, Root, Element>;

 public:
  using Base::Base;
  VPathArray() = default;
  void Transform(const VAffineTrans& t) override {
    for (Vlong i = 0; i < this->num; ++i) this->data[i].Transform(t);
  }
  void Display(const VWindow& w) const override {
    for (Vlong i = 0; i < this->num; ++i) this->data[i].Display(w);
  }
};

class VContourArray2D : public VPathArray<VContourArray2D, VContourArray, VContour2D> {
 public:
  static constexpr const char* kName = "VContourArray2D";
  static constexpr const char* kElementName = "VContour2D";
  VContourArray2D() = default;
  VContourArray2D(VContour2D* contours, Vlong n) : VPathArray(contours, n) {}
  // One contour for each element, as VContour2D(const VXLDCont &) makes it.
  explicit VContourArray2D(const VXLDContArray& contours);
};

class VContourArray3D : public VPathArray<VContourArray3D, VContourArray, VContour3D> {
 public:
  static constexpr const char* kName = "VContourArray3D";
  static constexpr const char* kElementName = "VContour3D";
  VContourArray3D() = default;
  VContourArray3D(VContour3D* contours, Vlong n) : VPathArray(contours, n) {}
};

class VPolygonArray2D : public VPathArray<VPolygonArray2D, VPolygonArray, VPolygon2D> {
 public:
  static constexpr const char* kName = "VPolygonArray2D";
  static constexpr const char* kElementName = "VPolygon2D";
  VPolygonArray2D() = default;
  VPolygonArray2D(VPolygon2D* polygons, Vlong n) : VPathArray(polygons, n) {}
  // Each contour becomes a polygon of its points.
  VPolygonArray2D(const VContourArray2D& contours);
  // One polygon for each element, as VPolygon2D(const VXLDPoly &) makes it.
  explicit VPolygonArray2D(const VXLDPolyArray& polygons);
  // One polygon for each parallels object: the points of its first
  // polygon part (row1, column1 of get_parallels_xld).
  explicit VPolygonArray2D(const VXLDParaArray& parallels);
  explicit VPolygonArray2D(const VXLDModParaArray& parallels);
  explicit VPolygonArray2D(const VXLDExtParaArray& parallels);
  // 1 at the first polygon, in index order, that the line crosses.
  int Intersects(const VLine2D& line) const;
};

class VPolygonArray3D : public VPathArray<VPolygonArray3D, VPolygonArray, VPolygon3D> {
 public:
  static constexpr const char* kName = "VPolygonArray3D";
  static constexpr const char* kElementName = "VPolygon3D";
  VPolygonArray3D() = default;
  VPolygonArray3D(VPolygon3D* polygons, Vlong n) : VPathArray(polygons, n) {}
};

}  // namespace Vexa

#endif  // VEXAOBJ_VCONTOUR_H
