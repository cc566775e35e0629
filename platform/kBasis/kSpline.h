/**
 * @file    kSpline.h
 * @brief   Natural cubic spline through a set of knots.
 *
 * The spline passes through every knot, has continuous first and second derivatives, and a
 * second derivative of zero at both end knots. Beyond the end knots it continues as the
 * straight line it runs into there. Evaluation is limited to a domain: inputs below it
 * evaluate at its lower end, inputs above at its upper end.
 */
#ifndef K_BASIS_SPLINE_H
#define K_BASIS_SPLINE_H

#include <kBasis/kObject.h>

typedef kObject kSpline;
kDeclareClass(kSpline, kObject);

/**
 * Creates a spline without knots.
 *
 * @param spline     Receives the spline (one reference for the caller).
 * @param allocator  Memory for the object and its knots (null: application allocator).
 * @return kOK; kSTATUS_MEMORY.
 */
kFx(kStatus) kSpline_Construct(kSpline* spline, kAlloc allocator);

/**
 * Fits the spline through count knots (x[i], y[i]) and sets the domain to [x[0], x[count-1]].
 * On failure the previous fit is kept.
 *
 * @param spline  Spline.
 * @param x       Knot positions, finite and strictly increasing.
 * @param y       Knot values, finite.
 * @param count   Knot count, at least 2 (two knots give a straight line).
 * @return kOK; kSTATUS_BAD_PARAMETER for null arrays, fewer than 2 knots, or positions that
 *         are not finite and strictly increasing; kSTATUS_MEMORY.
 */
kFx(kStatus) kSpline_Fit(kSpline spline, const k64f* x, const k64f* y, kSize count);

/**
 * Sets the evaluation domain. It may reach beyond the knots (where the spline is linear).
 *
 * @return kOK; kSTATUS_BAD_PARAMETER unless min <= max, both finite.
 */
kFx(kStatus) kSpline_SetDomain(kSpline spline, k64f min, k64f max);

/**
 * Evaluates the spline at count inputs: y[i] = S(clamp(x[i], domain)).
 *
 * @return kOK; kSTATUS_BAD_STATE before a successful Fit; kSTATUS_BAD_PARAMETER for null
 *         arrays.
 */
kFx(kStatus) kSpline_ApplyN(kSpline spline, const k64f* x, k64f* y, kSize count);

#endif
