// Dispatch slots of the BLAS-1 kernels and the internal entries of scale
// and index-of-maximum, which are the slots themselves.
#include "blas1/blas1.h"

namespace orb::blas1 {
namespace {

constexpr DispatchSlot<CopyFn<double>>::Table kDcopy = ORB_BLAS1_TABLE(dcopy);
constexpr DispatchSlot<CopyFn<float>>::Table kScopy = ORB_BLAS1_TABLE(scopy);
constexpr DispatchSlot<ScalFn<double>>::Table kDscal = ORB_BLAS1_TABLE(dscal);
constexpr DispatchSlot<ScalFn<float>>::Table kSscal = ORB_BLAS1_TABLE(sscal);
constexpr DispatchSlot<IamaxFn<double>>::Table kIdamax = ORB_BLAS1_TABLE(idamax);
constexpr DispatchSlot<IamaxFn<float>>::Table kIsamax = ORB_BLAS1_TABLE(isamax);

DispatchSlot<CopyFn<double>> g_dcopy(kDcopy);
DispatchSlot<CopyFn<float>> g_scopy(kScopy);
DispatchSlot<ScalFn<double>> g_dscal(kDscal);
DispatchSlot<ScalFn<float>> g_sscal(kSscal);
DispatchSlot<IamaxFn<double>> g_idamax(kIdamax);
DispatchSlot<IamaxFn<float>> g_isamax(kIsamax);

}  // namespace

DispatchSlot<CopyFn<double>> &DcopySlot() { return g_dcopy; }
DispatchSlot<CopyFn<float>> &ScopySlot() { return g_scopy; }
DispatchSlot<ScalFn<double>> &DscalSlot() { return g_dscal; }
DispatchSlot<ScalFn<float>> &SscalSlot() { return g_sscal; }
DispatchSlot<IamaxFn<double>> &IdamaxSlot() { return g_idamax; }
DispatchSlot<IamaxFn<float>> &IsamaxSlot() { return g_isamax; }

void Dscal(const int32_t *n, const double *alpha, double *x, const int32_t *incx) {
    g_dscal(n, alpha, x, incx);
}
void Sscal(const int32_t *n, const float *alpha, float *x, const int32_t *incx) {
    g_sscal(n, alpha, x, incx);
}
int32_t Idamax(const int32_t *n, const double *x, const int32_t *incx) { return g_idamax(n, x, incx); }
int32_t Isamax(const int32_t *n, const float *x, const int32_t *incx) { return g_isamax(n, x, incx); }

}  // namespace orb::blas1
