// MinGW's pow, cos and atanf work in the x87 unit, in whatever precision the calling thread has it set to,
// and leave their exception flags there. Windows starts threads with 53 bits; with fewer than 64 the last
// digits of a release or a curve are lost. With the linker's --wrap, calls to these functions arrive here
// instead: each has the full precision, and the host's x87 state is back afterwards.

namespace
{

class FullPrecision
{
public:
    FullPrecision() noexcept { asm volatile("fnstenv %0\n\tfninit" : "=m"(saved)::"memory"); }
    FullPrecision(const FullPrecision&) = delete;
    ~FullPrecision() { asm volatile("fldenv %0" ::"m"(saved) : "memory"); }

private:
    unsigned saved[7];  // the x87 environment, as fnstenv writes it
};

}  // namespace

extern "C" {

double __real_pow(double x, double y);
double __real_cos(double x);
float __real_atanf(float x);

double __wrap_pow(double x, double y)
{
    const FullPrecision precision;
    return __real_pow(x, y);
}

double __wrap_cos(double x)
{
    const FullPrecision precision;
    return __real_cos(x);
}

float __wrap_atanf(float x)
{
    const FullPrecision precision;
    return __real_atanf(x);
}
}
