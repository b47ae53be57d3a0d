#pragma once

// The host's basic value types and the plain functions of its types library that the
// plug-in calls. The host's own definitions are not available; these are the simplest value
// types that serve, with the same element layout where the plug-in relies on it.

#include "taviSdkGlobal.h"

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

// A vector of doubles of any length; the empty vector is a real state ("no value").
// Up to four elements live inline, so the three-component values of a pose cost no heap
// allocation when they are passed around by value.
class TAVISDK_EXPORT ZtVector
{
public:
    ZtVector() noexcept = default;
    explicit ZtVector(std::size_t size, double fill = 0.0);
    ZtVector(std::initializer_list<double> values);
    ZtVector(const ZtVector& other);
    ZtVector(ZtVector&& other) noexcept;
    ZtVector& operator=(const ZtVector& other);
    ZtVector& operator=(ZtVector&& other) noexcept;
    ~ZtVector();

    std::size_t size() const noexcept { return m_size; }
    bool empty() const noexcept { return m_size == 0; }
    double* data() noexcept { return m_data; }
    const double* data() const noexcept { return m_data; }
    double& operator[](std::size_t i) noexcept { return m_data[i]; }
    const double& operator[](std::size_t i) const noexcept { return m_data[i]; }
    const double* begin() const noexcept { return m_data; }
    const double* end() const noexcept { return m_data + m_size; }

    // New elements are zero.
    void resize(std::size_t size);
    void reserve(std::size_t capacity);
    void append(const double* values, std::size_t count);
    void append(const ZtVector& other) { append(other.m_data, other.m_size); }
    void push_back(double value) { append(&value, 1); }
    void clear() noexcept { m_size = 0; }
    void swap(ZtVector& other) noexcept;

    friend bool operator==(const ZtVector& a, const ZtVector& b) noexcept;

private:
    static constexpr std::size_t InlineCapacity = 4;
    bool isInline() const noexcept { return m_data == m_inline; }

    std::size_t m_size = 0;
    std::size_t m_capacity = InlineCapacity;
    double* m_data = m_inline;
    double m_inline[InlineCapacity] = {};
};

// Orientation quaternion, q0 the scalar part; the same four doubles in the same order as
// vantor::Quaternion.
struct ZtQuaternion
{
    double q0 = 0.0;
    double q1 = 0.0;
    double q2 = 0.0;
    double q3 = 0.0;

    friend bool operator==(const ZtQuaternion&, const ZtQuaternion&) = default;
};

// Dense row-major matrix.
class TAVISDK_EXPORT ZtMatrix
{
public:
    ZtMatrix() = default;
    ZtMatrix(std::size_t rows, std::size_t columns);

    std::size_t rows() const noexcept { return m_rows; }
    std::size_t columns() const noexcept { return m_columns; }
    double* data() noexcept { return m_values.data(); }
    const double* data() const noexcept { return m_values.data(); }
    double& operator()(std::size_t row, std::size_t column) { return m_values[row * m_columns + column]; }
    double operator()(std::size_t row, std::size_t column) const { return m_values[row * m_columns + column]; }

    friend bool operator==(const ZtMatrix&, const ZtMatrix&) = default;

private:
    std::size_t m_rows = 0;
    std::size_t m_columns = 0;
    std::vector<double> m_values;
};

// 8-bit text, UTF-8 by convention.
struct ZtString
{
    std::string text;

    friend bool operator==(const ZtString&, const ZtString&) = default;
};

// The host's array container. The host describes element types at run time with array
// descriptors; a template serves the plug-in equally.
template <typename T>
class ZtArray
{
public:
    ZtArray() = default;
    ZtArray(std::initializer_list<T> items)
        : m_items(items)
    { }

    std::size_t size() const noexcept { return m_items.size(); }
    bool empty() const noexcept { return m_items.empty(); }
    const T& operator[](std::size_t i) const { return m_items[i]; }
    T& operator[](std::size_t i) { return m_items[i]; }
    void append(T item) { m_items.push_back(std::move(item)); }
    auto begin() const { return m_items.begin(); }
    auto end() const { return m_items.end(); }

private:
    std::vector<T> m_items;
};

struct ZtVersion
{
    int major = 0;
    int minor = 0;
    int revision = 0;
    std::uint32_t build = 0;
    std::uint32_t repositoryVersion = 0;
    std::string extra;
};

// Plain functions of the types library.
TAVISDK_EXPORT void ZtVector_construct(ZtVector* v, std::size_t size);
TAVISDK_EXPORT void ZtVector_copy(ZtVector* destination, const ZtVector* source);
TAVISDK_EXPORT void ZtVector_assign(ZtVector* destination, const ZtVector* source);
TAVISDK_EXPORT void ZtVector_destruct(ZtVector* v);
TAVISDK_EXPORT void ZtVector_setZero(ZtVector* v);
TAVISDK_EXPORT void ZtVector_swap(ZtVector* a, ZtVector* b);
TAVISDK_EXPORT bool ZtVector_empty(const ZtVector* v);
TAVISDK_EXPORT double ZtVector_dotProduct(const ZtVector* a, const ZtVector* b);
TAVISDK_EXPORT double ZtVector_cartesianLength(const ZtVector* v);
TAVISDK_EXPORT void ZtVector_normalize(ZtVector* v);

TAVISDK_EXPORT void ZtMatrix_construct(ZtMatrix* m, std::size_t rows, std::size_t columns);
TAVISDK_EXPORT void ZtMatrix_copy(ZtMatrix* destination, const ZtMatrix* source);
TAVISDK_EXPORT void ZtMatrix_assign(ZtMatrix* destination, const ZtMatrix* source);
TAVISDK_EXPORT void ZtMatrix_destruct(ZtMatrix* m);
TAVISDK_EXPORT void ZtMatrix_setZero(ZtMatrix* m);
TAVISDK_EXPORT void ZtMatrix_swap(ZtMatrix* a, ZtMatrix* b);
TAVISDK_EXPORT bool ZtMatrix_empty(const ZtMatrix* m);
TAVISDK_EXPORT double* ZtMatrix_offset(ZtMatrix* m, std::size_t row, std::size_t column);

template <typename T>
void ZtArray_construct(ZtArray<T>* a) { new (a) ZtArray<T>(); }
template <typename T>
void ZtArray_copyConstruct(ZtArray<T>* destination, const ZtArray<T>* source) { new (destination) ZtArray<T>(*source); }
template <typename T>
void ZtArray_destruct(ZtArray<T>* a) { a->~ZtArray<T>(); }

TAVISDK_EXPORT void ZtString_assignCharArray(ZtString* s, const char* text);
TAVISDK_EXPORT void ZtString_append(ZtString* s, const char* text);
TAVISDK_EXPORT bool ZtString_empty(const ZtString* s);

TAVISDK_EXPORT ZtQuaternion ZtQuaternion_identity();
TAVISDK_EXPORT ZtQuaternion ZtQuaternion_inverse(const ZtQuaternion& q);
TAVISDK_EXPORT ZtQuaternion ZtQuaternion_normalized(const ZtQuaternion& q);

// "major.minor.revision build B rev R extra", e.g. "2026.4.0 build 260430012 rev 1777549956 built on 2026-04-30".
TAVISDK_EXPORT ZtString ZtVersion_toString(const ZtVersion& version);
