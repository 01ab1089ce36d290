using System;
using System.Runtime.InteropServices;

namespace YewWpfWrap
{
    public static partial class Native
    {
        const int RTLD_NOW = 2;

        [DllImport("libdl.so.2", EntryPoint = "dlopen")]
        static extern IntPtr DlOpen([MarshalAs(UnmanagedType.LPStr)] string file, int mode);

        [DllImport("libdl.so.2", EntryPoint = "dlsym")]
        static extern IntPtr DlSym(IntPtr handle, [MarshalAs(UnmanagedType.LPStr)] string name);

        /// <summary>Address of an exported function or global (see <see cref="Globals"/>),
        /// or IntPtr.Zero when the library has no such name. .NET cannot import data,
        /// so globals such as number_of_cores are read and written through this address.</summary>
        /// <param name="name">The exported name.</param>
        /// <param name="libraryPath">The file to look in; by default the one the dynamic
        /// loader finds by name, which is the copy [DllImport] loaded when both search
        /// the same paths (LD_LIBRARY_PATH, the system folders).</param>
        public static IntPtr SymbolAddress(string name, string libraryPath = "libYewWpfWrap.so")
        {
            if (name == null) throw new ArgumentNullException(nameof(name));
            // Load through [DllImport] first, so the handle below is that copy.
            oxSystemInfoGetNumberOfCores();
            IntPtr handle = DlOpen(libraryPath, RTLD_NOW);
            if (handle == IntPtr.Zero) throw new DllNotFoundException(libraryPath);
            // The handle is not closed: the library stays loaded for the process anyway.
            return DlSym(handle, name);
        }
    }
}
