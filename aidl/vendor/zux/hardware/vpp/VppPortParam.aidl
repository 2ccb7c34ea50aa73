// Geometry and pixel format of one port of a session.
package vendor.zux.hardware.vpp;

@VintfStability
parcelable VppPortParam {
    // Frame height in lines.
    int height;
    // Frame width in pixels.
    int width;
    // Bytes per line of the luma plane (>= width).
    int stride;
    // Lines allotted to the luma plane (>= height); the chroma plane follows after them.
    int scanlines;
    // Pixel format code. 3: 4:2:0, luma plane followed by an interleaved CbCr plane of half
    // height with the luma stride. 4: the same with CrCb order. 2: 4:2:0 planar (Y, U, V; chroma
    // strides are half the luma stride).
    int colorFormat;
}
