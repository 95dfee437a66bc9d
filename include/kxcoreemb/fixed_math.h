// fixed_math.h - the mathematics of a game without floating point: scalar functions, matrices, quaternions.
#pragma once

#include <kxcoreemb/fixed.h>

/// Functions of KxcFixed numbers, and of the vectors, matrices and quaternions made of them.
///
/// Units        angles are radians. Points are row vectors, p' = p * M, so that composed transforms read left to right.
/// Names        matrixRotationX, matrixTranslation, ... overwrite the matrix that they are given. Their sisters
///              matrixRotateX, matrixTranslate, ... multiply it from the left: the new transform comes before the old.
/// Results      what works on a matrix or quaternion in place returns it; what takes an `out` returns that, and `out`
///              may be one of the arguments.
/// Arithmetic   that of KxcFixed: every product is floored on its own, nothing saturates, overflow wraps. The same
///              arguments give the same bits on every device.
/// Failure      nothing reports an error or divides by zero: a quotient whose divisor is zero counts as 0 unless its
///              function says otherwise.
/// Threads      any, while the core exists: its tables are built once and then only read. Without a core the functions
///              that need a table (sin, cos, tan, asin, acos, atan, atan2, exp, log, pow with a fractional exponent,
///              and what is built on them) count them as 0.
class KXC_API KxcMath
{
public:
    // --- trigonometry: a turn is divided into 65536 steps ---
    /// @{
    /// The sine and the cosine: within two turns 8/65536 from the exact ones, 94/65536 at the ends of the range. The
    /// fast ones are the same.
    static KxcFixed sin(KxcFixed angle);
    static KxcFixed cos(KxcFixed angle);
    static KxcFixed sinFast(KxcFixed angle) { return sin(angle); }
    static KxcFixed cosFast(KxcFixed angle) { return cos(angle); }
    /// @}

    /// sin / cos. Where cos is 0, the largest number with the sign of sin; where the quotient does not fit, it wraps.
    static KxcFixed tan(KxcFixed angle);

    /// @{
    /// The angle whose sine, or cosine, is x, within 6/65536. @param x  -1 to 1
    static KxcFixed asin(KxcFixed x);
    static KxcFixed acos(KxcFixed x);
    /// @}

    /// A quotient of two cubics, without a table: for x from 0 to 0.9 within 0.003 of acos. Beyond that the error grows
    /// (0.17 at 1), and so it does for negative x (0.39 at -1).
    static KxcFixed acosFast(KxcFixed x);
    static KxcFixed atan(KxcFixed x); ///< the angle whose tangent is x, from -pi/2 to pi/2, within 2/65536
    /// The angle of the point (x, y), from -pi to pi; 0 for the origin.
    static KxcFixed atan2(KxcFixed y, KxcFixed x);

    // --- roots and powers ---
    /// The square root, truncated; a negative x counts as the number 65536 above it.
    static KxcFixed sqrt(KxcFixed x);
    /// The same with 8 fraction bits, the others 0.
    static KxcFixed sqrtFast(KxcFixed x);
    static KxcFixed sqr(KxcFixed x) { return x * x; } ///< the square; it wraps from 181.02 on
    /// e to the x, within 0.02 % or 5/65536; from 10.397 on the result wraps.
    static KxcFixed exp(KxcFixed x);
    /// The natural logarithm, within 6/65536; 0 when x is not positive.
    static KxcFixed log(KxcFixed x);
    /// A rational approximation of log: within 0.005 for x from 1/4 to 4, 0.05 from 1/16 to 16; 0 when x is not
    /// positive.
    static KxcFixed logFast(KxcFixed x);
    /// x to the y: repeated multiplication when y is a positive whole number, else exp(log(x) * y).
    /// 0 when x is 0, or negative with any other y but 0.
    static KxcFixed pow(KxcFixed x, KxcFixed y);

    // --- signs and whole numbers ---
    static KxcFixed abs(KxcFixed x) { return x < KxcFixed(0) ? -x : x; } ///< the number without its sign; -32768 stays
    /// The next whole number toward minus infinity.
    static KxcFixed floor(KxcFixed x) { return wholePart(static_cast<KxcUINT32>(x.raw())); }
    /// The next whole number toward plus infinity; it wraps above 32767.
    static KxcFixed ceil(KxcFixed x) { return wholePart(static_cast<KxcUINT32>(x.raw()) + 0xFFFF); }

    // --- matrices for 3D; a KxcMatrix3 is the rotating and scaling part alone ---
    /// @{
    /// Overwrites m with the transform that changes nothing.
    static KxcMatrix4& matrixIdentity(KxcMatrix4& m);
    static KxcMatrix3& matrixIdentity(KxcMatrix3& m);
    /// @}

    /// @{
    /// Overwrites m with a rotation about an axis through the origin: about x it turns y toward z, about y z toward x,
    /// about z x toward y. @param angle  in radians
    static KxcMatrix4& matrixRotationX(KxcMatrix4& m, KxcFixed angle);
    static KxcMatrix3& matrixRotationX(KxcMatrix3& m, KxcFixed angle);
    static KxcMatrix4& matrixRotationY(KxcMatrix4& m, KxcFixed angle);
    static KxcMatrix3& matrixRotationY(KxcMatrix3& m, KxcFixed angle);
    static KxcMatrix4& matrixRotationZ(KxcMatrix4& m, KxcFixed angle);
    static KxcMatrix3& matrixRotationZ(KxcMatrix3& m, KxcFixed angle);
    /// @}

    /// @{
    /// Overwrites m with a scaling by the factor along all three axes.
    static KxcMatrix4& matrixScaling(KxcMatrix4& m, KxcFixed factor);
    static KxcMatrix3& matrixScaling(KxcMatrix3& m, KxcFixed factor);
    /// @}

    /// Overwrites m with a translation by the offset.
    static KxcMatrix4& matrixTranslation(KxcMatrix4& m, const KxcVector3& offset);

    /// @{
    /// Puts a rotation before the transform in m: m = R * m. @param angle  in radians
    static KxcMatrix4& matrixRotateX(KxcMatrix4& m, KxcFixed angle);
    static KxcMatrix3& matrixRotateX(KxcMatrix3& m, KxcFixed angle);
    static KxcMatrix4& matrixRotateY(KxcMatrix4& m, KxcFixed angle);
    static KxcMatrix3& matrixRotateY(KxcMatrix3& m, KxcFixed angle);
    static KxcMatrix4& matrixRotateZ(KxcMatrix4& m, KxcFixed angle);
    static KxcMatrix3& matrixRotateZ(KxcMatrix3& m, KxcFixed angle);
    /// @}

    /// @{
    /// Puts a scaling before the transform in m: m = S * m.
    static KxcMatrix4& matrixScale(KxcMatrix4& m, KxcFixed factor);
    static KxcMatrix3& matrixScale(KxcMatrix3& m, KxcFixed factor);
    /// @}

    /// Puts a translation before the transform in m: m = T * m.
    static KxcMatrix4& matrixTranslate(KxcMatrix4& m, const KxcVector3& offset);

    /// @{
    /// out = a * b: the transform that applies a first.
    static KxcMatrix4& matrixMultiply(const KxcMatrix4& a, const KxcMatrix4& b, KxcMatrix4& out);
    static KxcMatrix3& matrixMultiply(const KxcMatrix3& a, const KxcMatrix3& b, KxcMatrix3& out);
    /// @}

    /// @{
    /// Exchanges rows and columns.
    static KxcMatrix4& matrixTranspose(KxcMatrix4& m);
    static KxcMatrix3& matrixTranspose(KxcMatrix3& m);
    /// @}

    /// @{
    /// out = (v, 1) * M without its fourth column: no division by w.
    static KxcVector3& matrixTransform(const KxcMatrix4& m, const KxcVector3& v, KxcVector3& out);
    static KxcVector3& matrixTransform(const KxcMatrix3& m, const KxcVector3& v, KxcVector3& out);
    /// @}

    /// A direction: as matrixTransform without the translation.
    static KxcVector3& matrixTransformNormal(const KxcMatrix4& m, const KxcVector3& v, KxcVector3& out);
    /// out = v * M with all four components.
    static KxcVector4& matrixProject(const KxcMatrix4& m, const KxcVector4& v, KxcVector4& out);

    /// @{
    /// The inverse, by elimination without exchanging rows: a pivot of 0 ends it and leaves m half reduced.
    static KxcMatrix4& matrixInverse(KxcMatrix4& m);
    static KxcMatrix3& matrixInverse(KxcMatrix3& m);
    static KxcMatrix4& matrixInverseAffine(KxcMatrix4& m) { return matrixInverse(m); }
    static KxcMatrix3& matrixInverseAffine(KxcMatrix3& m) { return matrixInverse(m); }
    /// @}

    /// The inverse of a rotation with a translation; of nothing else.
    static KxcMatrix4& matrixInverseFast(KxcMatrix4& m);

    /// @{
    /// Makes the columns of the rotating part perpendicular and of length 1 again, without roots or divisions. Column 0
    /// keeps its direction, column 2 stays in the plane of both. Lengths come within 0.03 % of 1.
    static KxcMatrix4& matrixNormalize(KxcMatrix4& m);
    static KxcMatrix3& matrixNormalize(KxcMatrix3& m);
    /// @}

    /// Where a camera stands: its axes in rows 0 to 2 (z looks at the target), the eye in row 3. The view matrix is
    /// the inverse of it (matrixInverseFast).
    static KxcMatrix4& matrixLookAt(KxcMatrix4& m, const KxcVector3& eye, const KxcVector3& target,
                                    const KxcVector3& up);
    /// A perspective: clip w is the view's z; clip z runs from 0 at `nearZ` to w at `farZ`.
    /// @param height, width  of the viewport, in any unit: their ratio counts
    /// @param fov            from the lower to the upper edge of the view
    static KxcMatrix4& matrixToProjection(KxcMatrix4& m, KxcFixed height, KxcFixed width, KxcFixed fov, KxcFixed nearZ,
                                          KxcFixed farZ);
    /// A perspective whose axis need not meet the middle.
    /// @param left, right, bottom, top  edges of the view at the distance farZ
    static KxcMatrix4& matrixToProjectionOffCenter(KxcMatrix4& m, KxcFixed left, KxcFixed right, KxcFixed bottom,
                                                   KxcFixed top, KxcFixed nearZ, KxcFixed farZ);
    /// The same for a window in a viewport of height x width pixels that sees `fov` from its lower to its upper edge.
    /// @param left, right, top, bottom  edges of the window in pixels from the viewport's top left corner, y downwards
    static KxcMatrix4& matrixToProjectionOffCenter(KxcMatrix4& m, KxcFixed height, KxcFixed width, KxcFixed fov,
                                                   KxcFixed nearZ, KxcFixed farZ, KxcFixed left, KxcFixed right,
                                                   KxcFixed top, KxcFixed bottom);

    // --- matrices for 2D: points are (x, y, 1), the translation lies in m[2][0] and m[2][1] ---
    /// Overwrites m with a rotation that turns x toward y: clockwise where y grows downwards.
    static KxcMatrix3& matrixRotation2D(KxcMatrix3& m, KxcFixed angle) { return matrixRotationZ(m, angle); }
    /// Overwrites m with a translation by the offset.
    static KxcMatrix3& matrixTranslation2D(KxcMatrix3& m, const KxcVector2& offset);
    /// Overwrites m with a scaling by the factor along both axes.
    static KxcMatrix3& matrixScaling2D(KxcMatrix3& m, KxcFixed factor);

    /// @{
    /// Puts a rotation, a translation, a scaling before the transform in m: m = R * m and so on.
    static KxcMatrix3& matrixRotate2D(KxcMatrix3& m, KxcFixed angle) { return matrixRotateZ(m, angle); }
    static KxcMatrix3& matrixTranslate2D(KxcMatrix3& m, const KxcVector2& offset);
    static KxcMatrix3& matrixScale2D(KxcMatrix3& m, KxcFixed factor);
    /// @}

    /// Out = (v, 1) * M without its third column.
    static KxcVector2& matrixTransform2D(const KxcMatrix3& m, const KxcVector2& v, KxcVector2& out);
    /// The inverse of a rotation with a translation; of nothing else.
    static KxcMatrix3& matrixInverseFast2D(KxcMatrix3& m);
    /// The inverse of any affine 2D transform; a singular one gives a matrix that is no inverse.
    static KxcMatrix3& matrixInverseAffine2D(KxcMatrix3& m);

    // --- quaternions: rotations as q * v * q^-1 ---
    /// Overwrites q with the rotation that changes nothing.
    static KxcQuaternion& quaternionIdentity(KxcQuaternion& q);

    /// @{
    /// Overwrites q with a rotation about an axis, as matrixRotationX() and its sisters turn. @param angle  in radians
    static KxcQuaternion& quaternionRotationX(KxcQuaternion& q, KxcFixed angle);
    static KxcQuaternion& quaternionRotationY(KxcQuaternion& q, KxcFixed angle);
    static KxcQuaternion& quaternionRotationZ(KxcQuaternion& q, KxcFixed angle);
    /// @}

    /// Overwrites q with a rotation about x, then y, then z. @param angleX, angleY, angleZ  in radians
    static KxcQuaternion& quaternionRotationXYZ(KxcQuaternion& q, KxcFixed angleX, KxcFixed angleY, KxcFixed angleZ);
    /// Overwrites q with a rotation about any axis. @param axis  of any length @param angle  in radians
    static KxcQuaternion& quaternionRotationVector(KxcQuaternion& q, const KxcVector3& axis, KxcFixed angle);

    /// @{
    /// These multiply from the left, q = R * q: unlike a matrix, a quaternion turns by its right factor first.
    static KxcQuaternion& quaternionRotateX(KxcQuaternion& q, KxcFixed angle);
    static KxcQuaternion& quaternionRotateY(KxcQuaternion& q, KxcFixed angle);
    static KxcQuaternion& quaternionRotateZ(KxcQuaternion& q, KxcFixed angle);
    static KxcQuaternion& quaternionRotateXYZ(KxcQuaternion& q, KxcFixed angleX, KxcFixed angleY, KxcFixed angleZ);
    static KxcQuaternion& quaternionRotateVector(KxcQuaternion& q, const KxcVector3& axis, KxcFixed angle);
    /// @}

    /// out = p * q, the Hamilton product.
    static KxcQuaternion& quaternionMultiply(const KxcQuaternion& p, const KxcQuaternion& q, KxcQuaternion& out);
    /// The vector turned; a quaternion too short to have an inverse (below 1/256) turns nothing.
    static KxcVector3& quaternionTransform(const KxcQuaternion& q, const KxcVector3& v, KxcVector3& out);
    /// From q1 at t = 0 to q2 at t = 1, the shorter way round; within 0.004 of the exact components.
    static KxcQuaternion& quaternionSlerp(const KxcQuaternion& q1, const KxcQuaternion& q2, KxcFixed t,
                                          KxcQuaternion& out);

    /// @{
    /// The rotation in a matrix that only rotates and translates.
    static KxcQuaternion& quaternionFromMatrix(KxcQuaternion& q, const KxcMatrix4& m);
    static KxcQuaternion& quaternionFromMatrix(KxcQuaternion& q, const KxcMatrix3& m);
    /// @}

    /// @{
    /// Overwrites m with the rotation of a quaternion of length 1.
    static KxcMatrix4& matrixFromQuaternion(KxcMatrix4& m, const KxcQuaternion& q);
    static KxcMatrix3& matrixFromQuaternion(KxcMatrix3& m, const KxcQuaternion& q);
    /// @}

    /// The rotation of matrixLookAt.
    static KxcQuaternion& quaternionLookAt(KxcQuaternion& q, const KxcVector3& eye, const KxcVector3& target,
                                           const KxcVector3& up);

private:
    static KxcFixed wholePart(KxcUINT32 raw) { return KxcFixed::fromRaw(static_cast<KxcINT32>(raw & 0xFFFF0000u)); }
};
