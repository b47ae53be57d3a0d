#include "zttypes.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

ZtVector::ZtVector(std::size_t size, double fill)
{
    resize(size);
    std::fill(m_data, m_data + m_size, fill);
}

ZtVector::ZtVector(std::initializer_list<double> values)
{
    append(values.begin(), values.size());
}

ZtVector::ZtVector(const ZtVector& other)
{
    append(other.m_data, other.m_size);
}

ZtVector::ZtVector(ZtVector&& other) noexcept
{
    swap(other);
}

ZtVector& ZtVector::operator=(const ZtVector& other)
{
    if (this != &other) {
        m_size = 0;
        append(other.m_data, other.m_size);
    }
    return *this;
}

ZtVector& ZtVector::operator=(ZtVector&& other) noexcept
{
    if (this != &other) {
        ZtVector moved(std::move(other));
        swap(moved);
    }
    return *this;
}

ZtVector::~ZtVector()
{
    if (!isInline())
        delete[] m_data;
}

void ZtVector::reserve(std::size_t capacity)
{
    if (capacity <= m_capacity)
        return;
    auto* grown = new double[capacity];
    std::memcpy(grown, m_data, m_size * sizeof(double));
    if (!isInline())
        delete[] m_data;
    m_data = grown;
    m_capacity = capacity;
}

void ZtVector::resize(std::size_t size)
{
    if (size > m_capacity)
        reserve(std::max(size, m_capacity * 2));
    if (size > m_size)
        std::fill(m_data + m_size, m_data + size, 0.0);
    m_size = size;
}

void ZtVector::append(const double* values, std::size_t count)
{
    if (count == 0)
        return;
    if (m_size + count > m_capacity)
        reserve(std::max(m_size + count, m_capacity * 2));
    std::memcpy(m_data + m_size, values, count * sizeof(double));
    m_size += count;
}

void ZtVector::swap(ZtVector& other) noexcept
{
    // Inline storage moves by value; heap storage moves by pointer.
    const bool thisInline = isInline();
    const bool otherInline = other.isInline();
    std::swap(m_inline, other.m_inline);
    std::swap(m_size, other.m_size);
    std::swap(m_capacity, other.m_capacity);
    std::swap(m_data, other.m_data);
    if (otherInline)
        m_data = m_inline;
    if (thisInline)
        other.m_data = other.m_inline;
}

bool operator==(const ZtVector& a, const ZtVector& b) noexcept
{
    return a.m_size == b.m_size && std::equal(a.begin(), a.end(), b.begin());
}

ZtMatrix::ZtMatrix(std::size_t rows, std::size_t columns)
    : m_rows(rows)
    , m_columns(columns)
    , m_values(rows * columns, 0.0)
{
}

void ZtVector_construct(ZtVector* v, std::size_t size) { new (v) ZtVector(size); }
void ZtVector_copy(ZtVector* destination, const ZtVector* source) { new (destination) ZtVector(*source); }
void ZtVector_assign(ZtVector* destination, const ZtVector* source) { *destination = *source; }
void ZtVector_destruct(ZtVector* v) { v->~ZtVector(); }
void ZtVector_setZero(ZtVector* v) { std::fill(v->data(), v->data() + v->size(), 0.0); }
void ZtVector_swap(ZtVector* a, ZtVector* b) { a->swap(*b); }
bool ZtVector_empty(const ZtVector* v) { return v->empty(); }

double ZtVector_dotProduct(const ZtVector* a, const ZtVector* b)
{
    double sum = 0.0;
    const std::size_t n = std::min(a->size(), b->size());
    for (std::size_t i = 0; i < n; ++i)
        sum += (*a)[i] * (*b)[i];
    return sum;
}

double ZtVector_cartesianLength(const ZtVector* v) { return std::sqrt(ZtVector_dotProduct(v, v)); }

void ZtVector_normalize(ZtVector* v)
{
    const double length = ZtVector_cartesianLength(v);
    if (length > 0.0)
        for (std::size_t i = 0; i < v->size(); ++i)
            (*v)[i] /= length;
}

void ZtMatrix_construct(ZtMatrix* m, std::size_t rows, std::size_t columns) { new (m) ZtMatrix(rows, columns); }
void ZtMatrix_copy(ZtMatrix* destination, const ZtMatrix* source) { new (destination) ZtMatrix(*source); }
void ZtMatrix_assign(ZtMatrix* destination, const ZtMatrix* source) { *destination = *source; }
void ZtMatrix_destruct(ZtMatrix* m) { m->~ZtMatrix(); }
void ZtMatrix_setZero(ZtMatrix* m) { std::fill(m->data(), m->data() + m->rows() * m->columns(), 0.0); }
void ZtMatrix_swap(ZtMatrix* a, ZtMatrix* b) { std::swap(*a, *b); }
bool ZtMatrix_empty(const ZtMatrix* m) { return m->rows() * m->columns() == 0; }
double* ZtMatrix_offset(ZtMatrix* m, std::size_t row, std::size_t column) { return &(*m)(row, column); }

void ZtString_assignCharArray(ZtString* s, const char* text) { s->text = text ? text : ""; }
void ZtString_append(ZtString* s, const char* text)
{
    if (text)
        s->text += text;
}
bool ZtString_empty(const ZtString* s) { return s->text.empty(); }

ZtQuaternion ZtQuaternion_identity() { return {1.0, 0.0, 0.0, 0.0}; }

ZtQuaternion ZtQuaternion_inverse(const ZtQuaternion& q)
{
    const double norm2 = q.q0 * q.q0 + q.q1 * q.q1 + q.q2 * q.q2 + q.q3 * q.q3;
    if (norm2 == 0.0)
        return {};
    return {q.q0 / norm2, -q.q1 / norm2, -q.q2 / norm2, -q.q3 / norm2};
}

ZtQuaternion ZtQuaternion_normalized(const ZtQuaternion& q)
{
    const double norm = std::sqrt(q.q0 * q.q0 + q.q1 * q.q1 + q.q2 * q.q2 + q.q3 * q.q3);
    if (norm == 0.0)
        return q;
    return {q.q0 / norm, q.q1 / norm, q.q2 / norm, q.q3 / norm};
}

ZtString ZtVersion_toString(const ZtVersion& version)
{
    std::string text = std::to_string(version.major) + '.' + std::to_string(version.minor) + '.'
        + std::to_string(version.revision) + " build " + std::to_string(version.build) + " rev "
        + std::to_string(version.repositoryVersion);
    if (!version.extra.empty())
        text += ' ' + version.extra;
    return ZtString{text};
}
