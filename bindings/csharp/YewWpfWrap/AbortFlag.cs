using System;
using System.Runtime.InteropServices;
using System.Threading;

namespace YewWpfWrap
{
    /// <summary>A caller-owned int the long operations poll; pass <see cref="Pointer"/> as
    /// their abortFlag argument and call <see cref="Abort"/> from any thread to stop them.</summary>
    /// <remarks>The int sits in a pinned array, so its address stays valid until
    /// <see cref="Dispose"/>; keep the flag alive for as long as a call may read it.</remarks>
    public sealed class AbortFlag : IDisposable
    {
        readonly int[] cell = new int[1];
        GCHandle handle;

        public AbortFlag()
        {
            handle = GCHandle.Alloc(cell, GCHandleType.Pinned);
        }

        /// <summary>Address of the pinned int.</summary>
        public IntPtr Pointer
        {
            get
            {
                if (!handle.IsAllocated) throw new ObjectDisposedException(nameof(AbortFlag));
                return handle.AddrOfPinnedObject();
            }
        }

        public bool IsSet => Volatile.Read(ref cell[0]) != 0;

        public void Abort() => Volatile.Write(ref cell[0], 1);

        public void Reset() => Volatile.Write(ref cell[0], 0);

        public void Dispose()
        {
            if (handle.IsAllocated) handle.Free();
        }
    }
}
