// Snapshot of the interface vendor.zux.hardware.vpp made by scripts/device_build.py from the .aidl
// sources: declarations only. A frozen version never changes once shipped.
package vendor.zux.hardware.vpp;
import vendor.zux.hardware.vpp.IVppCallbacks;
import vendor.zux.hardware.vpp.VppBuffer;
import vendor.zux.hardware.vpp.VppBufferRequirements;
import vendor.zux.hardware.vpp.VppCtrlFrc;
import vendor.zux.hardware.vpp.VppError;
import vendor.zux.hardware.vpp.VppPortParam;
import vendor.zux.hardware.vpp.VppStats;
@VintfStability
interface IVppSession {
    VppError close();
    VppError drain();
    VppError flush(int port);
    VppError getBufferRequirements(int port, out VppBufferRequirements requirements);
    VppError init(int flags, IVppCallbacks callbacks);
    VppError open();
    VppError queueBuf(int port, in VppBuffer buffer);
    VppError getCtrlFrc(out VppCtrlFrc ctrl);
    VppError getMode(out int mode);
    VppError getParameter(int port, out VppPortParam param);
    VppError getState(out int state);
    VppError getStats(out VppStats stats);
    VppError reconfigure(in VppPortParam inputParam, in VppPortParam outputParam);
    VppError resetStats();
    VppError setCtrlFrc(in VppCtrlFrc ctrl);
    VppError setDebugFlags(int flags);
    VppError setFrameRate(int numerator, int denominator);
    VppError setMaxQueuedBuffers(int port, int count);
    VppError setName(String name);
    VppError setMode(int mode);
    VppError setParameter(int port, in VppPortParam param);
    VppError setPriority(int priority);
    VppError setTimestampMode(int mode);
    VppError setPassThrough(int enable);
    VppError ping();
    void term();
}
