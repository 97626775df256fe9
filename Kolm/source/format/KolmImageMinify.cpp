// Resizing where both axes shrink: mean, maximum and minimum over footprints.
//
// The rows of a footprint are joined element by element into one row, then its columns: flat loops over memory first,
// and little work per target texel.

#include "KolmImageResize.h"
#include "KolmImageTasks.h"

namespace Kolm {

namespace {

constexpr uint32_t band_rows = 16; // target rows of one task

// Sums \p rows rows of \p size elements. In blocks, so that the sums stay in the nearest cache.
template<class Sum, class Type>
void sum_rows(Sum *sums, const ImagePlane &src, uint32_t begin, uint32_t rows, size_t size) {
    constexpr size_t block = 2048;
    for(size_t x = 0; x < size; x += block) {
        const size_t n = min(block, size - x);
        Sum *d = sums + x;
        const Type *s = src.row<Type>(begin) + x;
        for(size_t i = 0; i < n; i++) d[i] = Sum(s[i]);
        uint32_t y = 1;
        for(; y + 3 <= rows; y += 3) {
            const Type *s0 = src.row<Type>(begin + y) + x;
            const Type *s1 = src.row<Type>(begin + y + 1) + x;
            const Type *s2 = src.row<Type>(begin + y + 2) + x;
            for(size_t i = 0; i < n; i++) d[i] = Sum(Sum(d[i] + Sum(s0[i])) + Sum(Sum(s1[i]) + Sum(s2[i])));
        }
        for(; y < rows; y++) {
            s = src.row<Type>(begin + y) + x;
            for(size_t i = 0; i < n; i++) d[i] = Sum(d[i] + Sum(s[i]));
        }
    }
}

// Quotient cut toward zero, as integer division gives it. A product with the reciprocal is that too where half a unit
// of 1/count is more than its rounding error: floats for sums of bytes below 2^20, doubles up to 2^17 elements.
template<class Type, class Real, class Total> inline Type get_mean(Total total, Real reciprocal) {
    // Sums of small elements fit into 31 bits but for those of 16 bits, which go through doubles.
    using Int = std::conditional_t<sizeof(Real) == 4, int32_t, int64_t>;
    const Real half = (Element<Type>::is_signed && total < 0) ? Real(-0.5) : Real(0.5);
    return Type(Int((Real(Int(total)) + half) * reciprocal));
}

// Means of the footprints along a row of column sums.
template<class Type, uint32_t Components, class Total, class Real, class Sum>
void mean_columns(Type *dst, const Sum *sums, const Array<ImageFootprints::Item> &items, uint32_t rows) {
    uint32_t size = 0;
    Real reciprocal = 0;
    for(const ImageFootprints::Item &item : items) {
        const Sum *s = sums + size_t(item.begin) * Components;
        Total total[Components];
        for(uint32_t c = 0; c < Components; c++) total[c] = Total(s[c]);
        for(uint32_t i = 1; i < item.size; i++) {
            s += Components;
            for(uint32_t c = 0; c < Components; c++) total[c] += Total(s[c]);
        }
        if constexpr(std::is_same_v<Real, Total>) {
            const Total count = Total(item.size) * Total(rows);
            for(uint32_t c = 0; c < Components; c++) dst[c] = Type(total[c] / count);
        } else {
            if(size != item.size) {
                size = item.size;
                reciprocal = Real(1.0) / (Real(size) * Real(rows));
            }
            for(uint32_t c = 0; c < Components; c++) dst[c] = get_mean<Type>(total[c], reciprocal);
        }
        dst += Components;
    }
}

template<class Type, uint32_t Components, class Total, class Real, class Sum>
void box_rows(ImagePlane dst, const ImagePlane &src, const ImageFootprints &x_prints, const ImageFootprints &y_prints,
              uint32_t begin, uint32_t end) {
    const uint32_t size = src.width * Components;
    Array<Sum> sums(size);
    for(uint32_t y = begin; y < end; y++) {
        const ImageFootprints::Item &item = y_prints.items[y];
        sum_rows<Sum, Type>(sums.get(), src, item.begin, item.size, size);
        mean_columns<Type, Components, Total, Real>(reinterpret_cast<Type *>(dst.data + dst.stride * y), sums.get(),
                                                    x_prints.items, item.size);
    }
}

// Chooses sums that can't overflow, and the division that is exact for them.
template<class Type, uint32_t Components>
void box(ImagePlane dst, const ImagePlane &src, const ImageFootprints &x_prints, const ImageFootprints &y_prints,
         Async *async) {
    using Wide = typename Element<Type>::Wide;
    const uint64_t count = uint64_t(x_prints.max_size) * y_prints.max_size;
    run_rows(async, dst.height, band_rows, [&](uint32_t begin, uint32_t end) {
        const auto run = [&](auto total, auto real, auto sum) {
            box_rows<Type, Components, decltype(total), decltype(real), decltype(sum)>(dst, src, x_prints, y_prints,
                                                                                       begin, end);
        };
        using Small = std::conditional_t<Element<Type>::is_signed, int32_t, uint32_t>;
        using Smallest = std::conditional_t<Element<Type>::is_signed, int16_t, uint16_t>;
        if constexpr(Element<Type>::is_float) {
            run(Wide(), Wide(), Wide());
        } else if constexpr(sizeof(Type) == 4) {
            if(count < (1u << 17)) return run(Wide(), float64_t(), Wide());
            run(Wide(), Wide(), Wide());
        } else {
            if constexpr(sizeof(Type) == 1) {
                if(count < 4096 && y_prints.max_size <= 256) return run(Small(), float32_t(), Smallest());
            }
            if(count <= 65536) return run(Small(), float64_t(), Small());
            run(Wide(), Wide(), Wide());
        }
    });
}

struct MaxFilter {
    template<class Type> static Type get(Type a, Type b) { return (b > a) ? b : a; }
};
struct MinFilter {
    template<class Type> static Type get(Type a, Type b) { return (b < a) ? b : a; }
};

template<class Filter, class Type, uint32_t Components>
void extreme(ImagePlane dst, const ImagePlane &src, const ImageFootprints &x_prints, const ImageFootprints &y_prints,
             Async *async) {
    run_rows(async, dst.height, band_rows, [&](uint32_t begin, uint32_t end) {
        const uint32_t size = src.width * Components;
        Array<Type> buffer(size);
        Type *row = buffer.get();
        for(uint32_t y = begin; y < end; y++) {
            const ImageFootprints::Item &rows = y_prints.items[y];
            memcpy(row, src.row<Type>(rows.center), size * sizeof(Type));
            for(uint32_t i = 0; i < rows.size; i++) {
                const Type *s = src.row<Type>(rows.begin + i);
                for(size_t x = 0; x < size; x++) row[x] = Filter::get(row[x], s[x]);
            }
            Type *d = reinterpret_cast<Type *>(dst.data + dst.stride * y);
            for(const ImageFootprints::Item &item : x_prints.items) {
                Type value[Components];
                const Type *center = row + size_t(item.center) * Components;
                const Type *s = row + size_t(item.begin) * Components;
                for(uint32_t c = 0; c < Components; c++) value[c] = center[c];
                for(uint32_t i = 0; i < item.size; i++, s += Components) {
                    for(uint32_t c = 0; c < Components; c++) value[c] = Filter::get(value[c], s[c]);
                }
                for(uint32_t c = 0; c < Components; c++) d[c] = value[c];
                d += Components;
            }
        }
    });
}

// Colours are summed in linear light, alpha as it is. Flat loops over rows between the sums along columns.
template<class Type, uint32_t Components>
void box_gamma(ImagePlane dst, const ImagePlane &src, const ImageFootprints &x_prints, const ImageFootprints &y_prints,
               Async *async) {
    run_rows(async, dst.height, band_rows, [&](uint32_t begin, uint32_t end) {
        const uint32_t size = src.width * Components;
        Array<float32_t> buffer(size * 2);
        float32_t *sums = buffer.get();
        float32_t *linear = sums + size;
        for(uint32_t y = begin; y < end; y++) {
            const ImageFootprints::Item &rows = y_prints.items[y];
            GammaRow<Type, Components>::decode(sums, src.row<Type>(rows.begin), size);
            for(uint32_t i = 1; i < rows.size; i++) {
                GammaRow<Type, Components>::decode(linear, src.row<Type>(rows.begin + i), size);
                for(size_t x = 0; x < size; x++) sums[x] += linear[x];
            }
            float32_t *means = linear;
            for(const ImageFootprints::Item &item : x_prints.items) {
                float64_t total[Components] = {};
                const float32_t *s = sums + size_t(item.begin) * Components;
                for(uint32_t i = 0; i < item.size; i++, s += Components) {
                    for(uint32_t c = 0; c < Components; c++) total[c] += s[c];
                }
                const float64_t count = float64_t(item.size) * rows.size;
                for(uint32_t c = 0; c < Components; c++) *means++ = float32_t(total[c] / count);
            }
            GammaRow<Type, Components>::encode(reinterpret_cast<Type *>(dst.data + dst.stride * y), linear,
                                               dst.width * Components);
        }
    });
}

} // namespace

void resize_minify(ImagePlane dst, const ImagePlane &src, Format format, Image::Filter filter, bool gamma,
                   Async *async) {
    const ImageFootprints x_prints(src.width, dst.width);
    const ImageFootprints y_prints(src.height, dst.height);
    with_elements(format, [&](auto element, auto components) {
        using Type = decltype(element);
        if(filter == Image::FilterMax)
            extreme<MaxFilter, Type, components>(dst, src, x_prints, y_prints, async);
        else if(filter == Image::FilterMin)
            extreme<MinFilter, Type, components>(dst, src, x_prints, y_prints, async);
        else if(gamma)
            box_gamma<Type, components>(dst, src, x_prints, y_prints, async);
        else
            box<Type, components>(dst, src, x_prints, y_prints, async);
    });
}

} // namespace Kolm
