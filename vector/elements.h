// Element types of the four type letters.
#pragma once

namespace zur {

// A real part followed by an imaginary part; passed by value as the platform's complex types are.
template <class T> struct complex { T re, im; };

template <class E> struct real_of { using type = E; };
template <class T> struct real_of<complex<T>> { using type = T; };

}  // namespace zur

#define ZUR_ELEMENT_s float
#define ZUR_ELEMENT_d double
#define ZUR_ELEMENT_c zur::complex<float>
#define ZUR_ELEMENT_z zur::complex<double>

#define ZUR_REAL_s float
#define ZUR_REAL_d double
#define ZUR_REAL_c float
#define ZUR_REAL_z double
