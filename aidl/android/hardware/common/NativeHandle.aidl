// A set of file descriptors and integers that together describe a buffer.
package android.hardware.common;

@VintfStability
parcelable NativeHandle {
    ParcelFileDescriptor[] fds;
    int[] ints;
}
