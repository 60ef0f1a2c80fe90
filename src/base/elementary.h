// Elementary functions made of +, -, *, / alone.  IEEE 754 fixes the result of these to the last
// bit, but not that of pow, exp, hypot, sine and cosine: C libraries differ there, and one library
// between processors with and without fused multiply-add.  What is printed uses these instead.
//
// power() is for scales by length, exponential() for the relative RMSD, sine() and cosine() for
// beta carbons that are built.
#pragma once

namespace tervolanda {

// base^exponent to 0.52 units in the last place, for base >= 0 and exponent > 0.
double power(double base, double exponent);

// e^x to 0.52 units in the last place; 0 and infinity beyond the range of a double.
double exponential(double x);

// Sine and cosine of an angle in radians, -2 to 2, to about one unit in the last place of 1.
double sine(double angle);
double cosine(double angle);

}  // namespace tervolanda
