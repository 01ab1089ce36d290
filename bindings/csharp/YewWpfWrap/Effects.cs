using System;

namespace YewWpfWrap
{
    /// <summary>The library's three photographic effects on packed 8-bit pixels in
    /// blue, green, red order (3 bytes a pixel, rows without padding).</summary>
    /// <remarks>Each effect comes in two forms: one returns a new array and leaves the
    /// input untouched, the other writes into the caller's destination, which may be
    /// the source itself (the effect then runs in place) but must not partly overlap
    /// it. Wrong arguments throw <see cref="ArgumentException"/> (or a subclass) before
    /// the library is called; a status other than 0 throws <see cref="YewException"/>,
    /// and a destination given by the caller may then hold partial output.</remarks>
    public static class Effects
    {
        /// <summary>Painterly simplification: repeated edge-preserving smoothing,
        /// a local contrast lift and a saturation boost.</summary>
        public static byte[] Simplify(byte[] bgr, int width, int height,
            int iterations = 8, float rangeFactor = 0.01f, float saturation = 0.3f)
        {
            byte[] result = NewDestination(bgr, width, height);
            Simplify(bgr, result, width, height, iterations, rangeFactor, saturation);
            return result;
        }

        public static void Simplify(byte[] bgr, byte[] destination, int width, int height,
            int iterations = 8, float rangeFactor = 0.01f, float saturation = 0.3f)
        {
            CheckNotNull(bgr, destination);
            Simplify(new ReadOnlySpan<byte>(bgr), new Span<byte>(destination), width, height,
                iterations, rangeFactor, saturation);
        }

        public static unsafe void Simplify(ReadOnlySpan<byte> bgr, Span<byte> destination, int width, int height,
            int iterations = 8, float rangeFactor = 0.01f, float saturation = 0.3f)
        {
            CheckBuffers(bgr, destination, width, height);
            fixed (byte* src = bgr)
            fixed (byte* dst = destination)
            {
                CheckOverlap(src, dst, bgr.Length);
                Throw(Native.oxYewSimplify(width, height, (IntPtr)src, (IntPtr)dst, iterations, rangeFactor, saturation),
                    nameof(Native.oxYewSimplify));
            }
        }

        /// <summary>Miniature look: the ellipse around the band from (ax, ay) to (bx, by),
        /// in fractions of the width and height, stays sharp, the rest is blurred by
        /// <paramref name="strength"/>, then a lens distortion of <paramref name="lensAmount"/>
        /// centred between the points follows.</summary>
        public static byte[] TiltShift(byte[] bgr, int width, int height, float strength = 0.3f,
            float lensAmount = 0.2f, float ax = 0.2f, float ay = 0.4f, float bx = 0.8f, float by = 0.6f)
        {
            byte[] result = NewDestination(bgr, width, height);
            TiltShift(bgr, result, width, height, strength, lensAmount, ax, ay, bx, by);
            return result;
        }

        public static void TiltShift(byte[] bgr, byte[] destination, int width, int height, float strength = 0.3f,
            float lensAmount = 0.2f, float ax = 0.2f, float ay = 0.4f, float bx = 0.8f, float by = 0.6f)
        {
            CheckNotNull(bgr, destination);
            TiltShift(new ReadOnlySpan<byte>(bgr), new Span<byte>(destination), width, height,
                strength, lensAmount, ax, ay, bx, by);
        }

        public static unsafe void TiltShift(ReadOnlySpan<byte> bgr, Span<byte> destination, int width, int height,
            float strength = 0.3f, float lensAmount = 0.2f, float ax = 0.2f, float ay = 0.4f, float bx = 0.8f,
            float by = 0.6f)
        {
            CheckBuffers(bgr, destination, width, height);
            fixed (byte* src = bgr)
            fixed (byte* dst = destination)
            {
                CheckOverlap(src, dst, bgr.Length);
                Throw(Native.oxYewTiltShift(width, height, (IntPtr)src, (IntPtr)dst, strength, lensAmount, ax, ay, bx, by),
                    nameof(Native.oxYewTiltShift));
            }
        }

        /// <summary>Automatic enhancement: histogram-driven contrast and a local tone
        /// curve whose slope is <paramref name="steepness"/> (0 or less turns the curve off).</summary>
        public static byte[] Enhance(byte[] bgr, int width, int height, float steepness = 0.3f)
        {
            byte[] result = NewDestination(bgr, width, height);
            Enhance(bgr, result, width, height, steepness);
            return result;
        }

        public static void Enhance(byte[] bgr, byte[] destination, int width, int height, float steepness = 0.3f)
        {
            CheckNotNull(bgr, destination);
            Enhance(new ReadOnlySpan<byte>(bgr), new Span<byte>(destination), width, height, steepness);
        }

        public static unsafe void Enhance(ReadOnlySpan<byte> bgr, Span<byte> destination, int width, int height,
            float steepness = 0.3f)
        {
            CheckBuffers(bgr, destination, width, height);
            fixed (byte* src = bgr)
            fixed (byte* dst = destination)
            {
                CheckOverlap(src, dst, bgr.Length);
                Throw(Native.oxYewEnhance(width, height, (IntPtr)src, (IntPtr)dst, steepness),
                    nameof(Native.oxYewEnhance));
            }
        }

        /// <summary>Bytes of a width x height picture, 3 a pixel.</summary>
        public static int ByteCount(int width, int height)
        {
            if (width < 1) throw new ArgumentOutOfRangeException(nameof(width), width, "must be at least 1");
            if (height < 1) throw new ArgumentOutOfRangeException(nameof(height), height, "must be at least 1");
            long bytes = (long)width * height * 3;
            if (bytes > int.MaxValue)
                throw new ArgumentOutOfRangeException(nameof(width), width, "width * height * 3 exceeds an array's length");
            return (int)bytes;
        }

        static byte[] NewDestination(byte[] bgr, int width, int height)
        {
            if (bgr == null) throw new ArgumentNullException(nameof(bgr));
            return new byte[ByteCount(width, height)];
        }

        static void CheckNotNull(byte[] bgr, byte[] destination)
        {
            if (bgr == null) throw new ArgumentNullException(nameof(bgr));
            if (destination == null) throw new ArgumentNullException(nameof(destination));
        }

        static void CheckBuffers(ReadOnlySpan<byte> bgr, Span<byte> destination, int width, int height)
        {
            int bytes = ByteCount(width, height);
            if (bgr.Length != bytes)
                throw new ArgumentException($"{bgr.Length} bytes given, a {width} x {height} picture has {bytes}", nameof(bgr));
            if (destination.Length != bytes)
                throw new ArgumentException($"{destination.Length} bytes given, a {width} x {height} picture has {bytes}",
                    nameof(destination));
        }

        static unsafe void CheckOverlap(byte* src, byte* dst, int length)
        {
            // Same start is the in-place run the library supports; any other overlap
            // would read pixels the call has already rewritten.
            if (src != dst && src < dst + length && dst < src + length)
                throw new ArgumentException("the destination partly overlaps the source", "destination");
        }

        static void Throw(int status, string operation)
        {
            if (status != 0) throw new YewException((Status)status, operation);
        }
    }
}
