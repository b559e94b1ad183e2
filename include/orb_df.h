/* orb_custom public interface: Data fitting: one-dimensional splines.
 * Compiles as C99 and as C++.
 *
 * A task describes one fitting problem: a partition x_0 < ... < x_{nx-1},
 * ny functions sampled on it, and the piecewise polynomial to fit. Create it
 * with df?NewTask1D, choose the spline with df?EditPPSpline1D, compute the
 * coefficients with df?Construct1D, evaluate with df?Interpolate1D and free
 * it with dfDeleteTask. Every call returns a status (0 or a negative code
 * below); nothing is printed. The caller's arrays (partition, values,
 * conditions, coefficients) are borrowed: the task keeps pointers to them.
 * A task made by the d creator is used with d calls only, an s task with s
 * calls only. Single-precision tasks are computed in double inside and
 * rounded once on store.
 *
 * Partition hint (xhint): 0 none, 1 non-uniform, 2 quasi-uniform (cell
 * search starts from a proportional guess), 4 uniform (x holds only the two
 * ends x_0, x_{nx-1}; the points are x_0 + j*(x_{nx-1}-x_0)/(nx-1)).
 *
 * Value layout (yhint): 0 or 16, functions one after another (function i
 * at y + i*nx); 32, point by point (value of function i at point j is
 * y[j*ny + i]); 128, y is function 0 only and the other functions have no
 * values (construction then reports -1008 for ny > 1).
 *
 * Coefficients: function i's block holds, for cell j (between x_j and
 * x_{j+1}), `order` coefficients c_0..c_{order-1} at order*j; the piece is
 * sum_k c_k (t - x_j)^k. Blocks of successive functions are order*(nx-1)
 * elements apart (the Subbotin type has nx pieces: order*nx). scoeffhint bit 128: only
 * function 0's block is given (scoeff itself).
 *
 * Spline orders and types accepted by construction:
 *   order 2 (linear), any type: c_0 = v_j, c_1 = (v_{j+1}-v_j)/h_j.
 *   order 3 type 0: the C1 piecewise quadratic through all values. Its one
 *     free condition comes from the left-end part of bc_type: code 1, the
 *     first two cells are one parabola (for nx = 2: a straight line); code
 *     2, zero second derivative on cell 0; codes with bit 4 (12, 36), first
 *     derivative bc[0] at x_0; codes with bit 16 (24, 48), second
 *     derivative bc[0] on cell 0. Other codes (64 included): -1014.
 *   order 3 type 1 (Subbotin): ic_type must have bit 8 (else -1012); ic
 *     holds nx+1 knots t_0 < t_1 < ... < t_nx, shared by all functions,
 *     with t_j <= x_j <= t_{j+1} (a common choice: t_0 = x_0, t_nx =
 *     x_{nx-1}, t_j = (x_{j-1}+x_j)/2). The spline has nx quadratic
 *     pieces, piece j living on [t_j, t_{j+1}] and written about x_j:
 *     c_0 + c_1 (t-x_j) + c_2 (t-x_j)^2, stored at 3j of the function's
 *     block (blocks 3*nx elements apart). Conditions: piece j takes the
 *     value v_j at x_j; neighbouring pieces agree in value and first
 *     derivative at each interior knot t_1..t_{nx-1}; two end conditions
 *     from bc_type: code 1, pieces 0 and 1 are one parabola and so are
 *     pieces nx-2 and nx-1 (nx = 2: -1500); 2, zero second derivative on
 *     pieces 0 and nx-1; bit 4/8, the first derivative bc[0] at x_0 / bc[1]
 *     at x_{nx-1}; bit 16/32, the second derivative bc[0] / bc[1] on piece
 *     0 / nx-1; 64 (needs no bc), equal first and equal second derivatives
 *     at x_0 and x_{nx-1} (with y_0 = y_{nx-1}: pieces 0 and nx-1 are one
 *     parabola shifted by the period). A first-derivative condition at an
 *     end point that is also the piece's inner knot (t_1 = x_0, or
 *     t_{nx-1} = x_{nx-1}) leaves that piece's curvature free: -1500, as
 *     is any other singular system. The knot order is not checked.
 *     Evaluation finds the knot interval of each site (sites outside
 *     [t_0, t_nx] use the nearest end piece); the cell it reports (type
 *     bit 2) is still the partition cell. Evaluating such a task whose
 *     ic_type lacks bit 8 returns -1012.
 *   order 4: the cubic types below. For each, h_j = x_{j+1}-x_j,
 *     s_j = (v_{j+1}-v_j)/h_j, m_j the first derivative at x_j; a piece is
 *     the cubic Hermite interpolant of (v_j, m_j, v_{j+1}, m_{j+1}).
 *     type 2: the C2 cubic through all values; the end conditions come from
 *       bc_type (table below). With code 1 and nx = 3 the two not-a-knot
 *       conditions coincide and the system is singular: -1500, with no
 *       coefficient written. A zero pivot met further on also gives -1500;
 *       for a single double-precision function the coefficient block is
 *       then used as working storage and its contents are unspecified.
 *     type 0: ic (ic_type 2) holds the second derivatives M_1..M_{nx-2} at
 *       the interior points (ic[k-1] = M_k). Interior cells are the cubics
 *       with values v_k, v_{k+1} and second derivatives M_k, M_{k+1}. Each
 *       end cell interpolates its two values, has M_1 (resp. M_{nx-2}) at
 *       its inner end and one more condition from bc_type: code 1, the same
 *       cubic coefficient as its neighbour (for nx = 3, where both cells are
 *       end cells, a zero cubic coefficient); 2, zero second derivative at
 *       the outer end; bit 4/8, the first derivative bc[0]/bc[1] at the
 *       outer end; bit 16/32, the second derivative bc[0]/bc[1] there; 64,
 *       the second derivative bc[0] at both ends.
 *     type 3 (Hermite): ic (ic_type 1) holds m_1..m_{nx-2} (ic[k-1] = m_k).
 *     type 4 (Bessel): m_k is the derivative at x_k of the parabola through
 *       x_{k-1}, x_k, x_{k+1}.
 *     For types 3 and 4, m_0 and m_{nx-1} come from bc_type: code 1, the
 *       end cell has the cubic coefficient of its neighbour (nx = 3: zero);
 *       2, zero second derivative at the end; bits 4/8 (value bc[0]/bc[1]),
 *       first derivative; bits 16/32, second derivative; 64, type 3: m_0 =
 *       m_{nx-1} = bc[0]; type 4: the Bessel derivative at x_0 computed
 *       across the wrap (x_{nx-2}, x_0 = x_{nx-1}, x_1), used at both ends.
 *     type 5 (Akima): m_k = (|s_{k+1}-s_k| s_{k-1} + |s_{k-1}-s_{k-2}| s_k)
 *       / (|s_{k+1}-s_k| + |s_{k-1}-s_{k-2}|), the mean of s_{k-1} and s_k
 *       when the denominator is 0; Akima's end rule extends the slopes
 *       linearly: s_{-1} = 2s_0-s_1, s_{-2} = 2s_{-1}-s_0, and likewise on
 *       the right. Every accepted bc_type gives the same spline.
 *   With several functions, ic holds one block per function (function i's
 *   nx-2 values at ic + i*(nx-2)) and bc one pair per function (bc[2i]
 *   left, bc[2i+1] right).
 *   Boundary-condition codes (bc_type) for orders 3 and 4, values in bc in
 *   the order left, right: 1 not-a-knot; 2 free end (zero second
 *   derivative at both ends); 12 first derivatives (bc[0] at x_0, bc[1] at
 *   x_{nx-1}); 24 second derivative bc[0] at x_0, first derivative bc[1] at
 *   x_{nx-1}; 36 first derivative bc[0] at x_0, second derivative bc[1] at
 *   x_{nx-1}; 48 second derivatives; 64 periodic (the data must satisfy
 *   y_0 = y_{nx-1}; type 2 then has equal first and second derivatives at
 *   both ends and needs no bc). Other codes: -1014.
 *   Types 6, 7, 8 need no construction and are evaluated from the values:
 *   6 the value at a partition point equal to the site, NaN elsewhere;
 *   7 step-wise constant, continuous from the right (v_j on [x_j, x_{j+1}));
 *   8 step-wise constant, continuous from the left (v_{j+1} on
 *   (x_j, x_{j+1}]). Their derivatives are 0 (type 6: NaN). With yhint
 *   128 and ny > 1 the other functions have no values: -1008.
 *
 * Interpolation: type bit 1 evaluates, bit 2 reports cells. The cell of a
 * site t is 0 for t < x_0, k for x_{k-1} <= t < x_k, nx for t >= x_{nx-1}.
 * Sites outside the partition use the polynomial of the nearest end cell.
 * dorder[k] != 0 asks for derivative k (k = 0 the value); a null dorder
 * with ndorder = 0 asks for the value alone. The results of one function
 * at one site are the asked derivatives in increasing order (nd of them);
 * rhint DfResultSitesFuncsDerivs stores them at r[(site*ny + i)*nd], any
 * other rhint at r[(i*nsite + site)*nd]. sitehint 4: site holds the two
 * ends of nsite equally spaced sites; 64: the sites are sorted ascending.
 * datahint (optional, nx-independent layout): [0] dimension (1), [1] kind
 * (0.0 none, 1.0 a most-likely cell is given), [2] reserved, [3] number of
 * parameters, [4] the most-likely cell (0..nx). The cell search uses a
 * direct formula on uniform partitions, a proportional guess and local
 * walk on quasi-uniform ones, a walk from the previous cell on sorted
 * sites, an outward search from the most-likely cell, and binary search
 * otherwise (replaced, when nsite*8 >= nx, by a grid of buckets over the
 * partition built for the call); every strategy gives the same cells.
 */
#ifndef ORB_DF_H
#define ORB_DF_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct DfTask DfTask;
/* df?NewTask1D with a null handle (DfTask **) returns -1000 after the
 * argument checks, before anything is allocated. */

/* Status codes. */
enum {
    DfStatusOk = 0,
    DfStatusNullTask = -1000,
    DfStatusNoMemory = -1001,
    DfStatusUnsupportedMethod = -1002,
    DfStatusUnsupportedComputation = -1003,
    DfStatusBadPartitionSize = -1004,
    DfStatusNullPartition = -1005,
    DfStatusBadPartitionHint = -1006,
    DfStatusBadFunctionCount = -1007,
    DfStatusNullFunctionValues = -1008,
    DfStatusBadFunctionHint = -1009,
    DfStatusBadSplineOrder = -1010,
    DfStatusBadSplineType = -1011,
    DfStatusBadInternalConditionType = -1012,
    DfStatusNullInternalConditions = -1013,
    DfStatusBadBoundaryConditionType = -1014,
    DfStatusNullBoundaryConditions = -1015,
    DfStatusNullCoefficients = -1016,
    DfStatusBadSiteCount = -1021,
    DfStatusNullSites = -1022,
    DfStatusBadSiteHint = -1023,
    DfStatusBadDerivativeCount = -1024,
    DfStatusNullDerivativeOrders = -1025,
    DfStatusBadDataHint = -1026,
    DfStatusNullResult = -1027,
    DfStatusNullCellIndices = -1029,
    DfStatusSingularSystem = -1500
};

/* Partition hints. */
enum { DfNoHint = 0, DfNonUniform = 1, DfQuasiUniform = 2, DfUniform = 4 };
/* Value layouts. */
enum { DfValuesPerFunction = 16, DfValuesPerPoint = 32, DfValuesFirstOnly = 128 };
/* Spline orders and types. */
enum { DfLinear = 2, DfQuadratic = 3, DfCubic = 4 };
enum { DfTypeDefault = 0, DfTypeSubbotin = 1, DfTypeNatural = 2,
       DfTypeHermite = 3, DfTypeBessel = 4, DfTypeAkima = 5,
       DfTypeLookup = 6, DfTypeStepRight = 7, DfTypeStepLeft = 8 };
/* Boundary-condition bits. */
enum { DfBcNotAKnot = 1, DfBcFreeEnd = 2, DfBcFirstLeft = 4,
       DfBcFirstRight = 8, DfBcSecondLeft = 16, DfBcSecondRight = 32,
       DfBcPeriodic = 64 };
/* Internal-condition types. */
enum { DfIcFirstDerivatives = 1, DfIcSecondDerivatives = 2, DfIcKnots = 8 };
/* Coefficient-storage hint. */
enum { DfCoeffFirstOnly = 128 };
/* Interpolation requests, method, site hints, result layouts. */
enum { DfInterpolate = 1, DfCellSearch = 2 };
enum { DfMethodPP = 1 };
enum { DfSitesNoHint = 0, DfSitesNonUniform = 1, DfSitesUniform = 4,
       DfSitesSorted = 64 };
enum { DfResultFuncsSitesDerivs = 1, DfResultSitesFuncsDerivs = 2 };
/* Search-hint layout (datahint elements). */
enum { DfHintKind = 1, DfHintLikelyCell = 4 };

int dfdNewTask1D(DfTask **task, int32_t nx, const double *x, int32_t xhint,
                 int32_t ny, const double *y, int32_t yhint);
int dfsNewTask1D(DfTask **task, int32_t nx, const float *x, int32_t xhint,
                 int32_t ny, const float *y, int32_t yhint);

int dfdEditPPSpline1D(DfTask *task, int32_t s_order, int32_t s_type,
                      int32_t bc_type, const double *bc, int32_t ic_type,
                      const double *ic, double *scoeff, int32_t scoeffhint);
int dfsEditPPSpline1D(DfTask *task, int32_t s_order, int32_t s_type,
                      int32_t bc_type, const float *bc, int32_t ic_type,
                      const float *ic, float *scoeff, int32_t scoeffhint);

int dfdConstruct1D(DfTask *task, int32_t s_format, int32_t method);
int dfsConstruct1D(DfTask *task, int32_t s_format, int32_t method);

int dfdInterpolate1D(DfTask *task, int32_t type, int32_t method,
                     int32_t nsite, const double *site, int32_t sitehint,
                     int32_t ndorder, const int32_t *dorder,
                     const double *datahint, double *r, int32_t rhint,
                     int32_t *cell);
int dfsInterpolate1D(DfTask *task, int32_t type, int32_t method,
                     int32_t nsite, const float *site, int32_t sitehint,
                     int32_t ndorder, const int32_t *dorder,
                     const double *datahint, float *r, int32_t rhint,
                     int32_t *cell);

int dfDeleteTask(DfTask **task);

#ifdef __cplusplus
}
#endif

#endif
