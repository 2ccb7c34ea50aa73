// Snapshot of the interface vendor.zux.hardware.vpp made by scripts/device_build.py from the .aidl
// sources: declarations only. A frozen version never changes once shipped.
package vendor.zux.hardware.vpp;
@VintfStability
parcelable VppCtrlFrc {
    int mode;
    int factor;
    int searchRange;
    int rateNum;
    int rateDen;
}
