// Snapshot of the interface vendor.zux.hardware.vpp made by scripts/device_build.py from the .aidl
// sources: declarations only. A frozen version never changes once shipped.
package vendor.zux.hardware.vpp;
import vendor.zux.hardware.vpp.FlushDone;
import vendor.zux.hardware.vpp.ReconfigDone;
import vendor.zux.hardware.vpp.VppBuffer;
import vendor.zux.hardware.vpp.VppError;
@VintfStability
interface IVppCallbacks {
    VppError eventDrainDone();
    VppError eventError(VppError error);
    VppError eventFlushDone(in FlushDone flushDone);
    VppError eventReconfigDone(in ReconfigDone reconfigDone);
    VppError inputBufferDone(in VppBuffer buffer);
    VppError outputBufferDone(in VppBuffer buffer);
}
