// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "multi_driver/CalibrationStatus.h"
#include "multi_driver/DriverParam.h"
#include "multi_driver/DriverStatistics.h"
#include "multi_driver/Export.h"
#include "multi_driver/Messages.h"
#include "multi_driver/PointCloud.h"
#include "multi_driver/RawPacket.h"

/// Driver of one sensor: packets from the network or a capture file in, complete frames out.
///
/// `T` is one of the four clouds `PointCloud<Point>`, `PointCloud<PointTime>`,
/// `PointCloud<PointSource>`, `PointCloud<JuniqPoint>`. Call order: register callbacks, InitDriver,
/// Start. Callbacks are taken over by InitDriver; registering later acts on the next InitDriver.
///
/// Threads: call the driver from one application thread, or from inside its callbacks. Callbacks
/// run on the driver's decoding thread, except that the first cloud is asked for inside InitDriver,
/// on the caller's thread. Decoding waits while a callback runs. Stop, InitDriver and destruction
/// are allowed inside a callback: the thread then ends by itself once the callback returns.
/// Ownership: clouds and messages are made by the providers and given back to the consumers; the
/// driver keeps no reference to what it has handed over. Destruction stops every thread first.
/// A call from a callback must not overlap one from another thread, except that both may call Stop.
/// After InitDriver or destruction in a callback nobody joins the rest of that callback: what it
/// captured must outlive it.
/// Failure: public calls never throw; they return false. A line on standard output or standard error
/// names an unknown model or source, a capture's path, and why a port cannot be bound.
/// An exception that escapes a callback on the decoding thread ends the process.
template <typename T>
class ORLIQ_API OrliqDriver {
  static_assert(orliq::lidar::kIsCloud<T>,
                "OrliqDriver is built for the clouds PointCloud<Point>, PointCloud<PointTime>, "
                "PointCloud<PointSource> and PointCloud<JuniqPoint>; a cloud derived from one of "
                "them goes through the driver of its base, as std::shared_ptr of the base.");

 public:
  /// Takes a finished frame, which is the application's from then on.
  using PutPointCloud = std::function<void(std::shared_ptr<T>)>;
  /// Gives an empty cloud to be filled. Null drops the points up to the end of the frame, where it is
  /// asked again.
  using GetPointCloud = std::function<std::shared_ptr<T>()>;
  /// Takes a sample of the inertial unit, which is the application's from then on.
  using PutImu = std::function<void(std::shared_ptr<orliq::lidar::ImuMsg>)>;
  /// Gives a message to be filled. Null drops the samples up to the end of the frame, where it is asked
  /// again.
  using GetImu = std::function<std::shared_ptr<orliq::lidar::ImuMsg>()>;
  /// Takes a packet fault.
  using ExceptionCallback = std::function<void(const orliq::lidar::Error&)>;
  /// Takes a packet of a live sensor as it came.
  using PacketCallback = std::function<void(const orliq::lidar::RawPacket&)>;

  OrliqDriver();
  virtual ~OrliqDriver();
  OrliqDriver(const OrliqDriver&) = delete;
  OrliqDriver& operator=(const OrliqDriver&) = delete;

  /// Sets the consumer of finished frames and the provider of empty clouds. Without a consumer clouds
  /// are thrown away, without a provider points are.
  void RegisterPointCloudCallBack(const PutPointCloud& put, const GetPointCloud& get);

  /// Sets the consumer of IMU samples and the provider of empty messages (live sensors only).
  void RegisterImuCallBack(const PutImu& put, const GetImu& get);

  /// Sets the receiver of packet faults, which are counted by GetStatistics as well.
  void RegisterExceptionCallBack(const ExceptionCallback& callback);

  /// Sets the receiver of a live sensor's packets, to record or to forward them: each one before it is
  /// decoded, whether the decoder then takes it or not, in the order in which they came. Packets of other
  /// senders, empty ones and those that SetQueueLimit gave up are none of them. A capture's packets are
  /// not handed over.
  void RegisterPacketCallBack(const PacketCallback& callback);

  /// Chooses the one sender, in dotted IPv4 form, whose packets count, live and in a capture; those
  /// of all others are passed over. Empty, the state at first, takes every sender. Like callbacks it
  /// is taken over by InitDriver, and holds for every later one. False, with no effect, for what is no
  /// address of a sender.
  bool SetSourceAddress(const std::string& address);

  /// Makes the upload of check parameters (`param_source` nonzero) robust: only replies of the
  /// sensor's own address and port count, and of those only what has the marker of a reply, exactly
  /// the bytes asked for and is no copy of an earlier one; for all others the request is repeated.
  /// Without it, the state at first, one wrong or late datagram may spoil the tables. Not for a sensor
  /// that answers with other lengths or from another port. Taken over by InitDriver, and holds for
  /// every later one.
  void SetStrictUpload(const bool& strict);

  /// Asks the system for that many bytes of receive buffer for a live sensor; 0, the state at first, asks
  /// for 16 MiB. It grants up to a limit of its own, and tells twice of it as `socket_buffer_bytes`. Taken
  /// over by InitDriver, and holds for every later one.
  void SetSocketBuffer(const std::uint32_t& bytes);

  /// Opens the packet source, loads the check parameters and makes the decoder; replaces an earlier
  /// initialisation. Check parameters from the sensor are fetched after Start, by a thread of their
  /// own while packets are decoded without them; GetStatistics tells how far they are. False when the
  /// model or the source is unknown, the source cannot be opened, the port for the upload cannot be
  /// bound, or a provider throws; the driver is then uninitialised.
  bool InitDriver(const orliq::lidar::DriverParam& param);

  /// Starts the worker threads; a capture file is indexed first. True when they run, also when they
  /// ran already. False without a successful InitDriver, and when the system has no thread left.
  bool Start();

  /// Stops and joins the worker threads; packets that are not decoded yet wait for the next Start, and so
  /// does an upload under way. Called from inside a live sensor's callback, that one is the last until
  /// Start: a frame or sample about to follow it is not handed over. A capture still asks for the cloud
  /// of the next frame. Does nothing without a successful InitDriver.
  void Stop();

  /// Switches the extrinsic transform on or off while running. The matrix stays the one built from
  /// the values given to InitDriver: only `enable` of a later call has an effect. No effect at all
  /// for a model without it (SensorModel::transforms_points), which is Kelvane.
  void UpdateTransform(const orliq::lidar::TransformParam& transform);

  /// Asks for frame `frame` (0-based) of a capture file; it arrives at the consumer. False while
  /// the file is indexed, while another frame plays, for an index out of range, and for a live
  /// sensor.
  bool SetLocalFrame(const int& frame);

  /// Whether a frame of a capture file that SetLocalFrame has asked for still plays, or one of its
  /// packets is still being decoded after GetLocalFileStatus or Stop. While it is false the driver
  /// leaves the cloud that it fills alone, until the next request. False for a live sensor.
  bool IsLocalFramePlaying() const;

  /// Stores the number of frames of the capture file in `status` and ends a frame that is still
  /// playing. False while the file is indexed and for a live sensor.
  bool GetLocalFileStatus(int& status);

  /// Stores what became of the packets of a live sensor or a capture so far. May be called from any
  /// thread while no InitDriver runs. False without a successful InitDriver.
  bool GetStatistics(orliq::lidar::DriverStatistics& statistics) const;

  /// Stores where the calibration tables came from, whether they are in use, and which were not taken
  /// and why, for a live sensor and a capture. False without a successful InitDriver.
  bool GetCalibrationStatus(orliq::lidar::CalibrationStatus& status) const;

  /// Limits how many packets of a live sensor may wait while a callback blocks; beyond that the
  /// oldest are dropped and counted. 0, the state after InitDriver, keeps every packet for as long
  /// as memory lasts (a stalled 25 Hz Juniq takes about 30 MB a second; without memory the process
  /// ends). Does nothing for a capture file and without a successful InitDriver.
  void SetQueueLimit(const std::uint64_t& packets);

 private:
  struct ORLIQ_LOCAL Impl;
  std::shared_ptr<Impl> impl;
};

#define ORLIQ_DECLARE_DRIVER(CLOUD) extern template class OrliqDriver<CLOUD>;
ORLIQ_FOR_EACH_CLOUD(ORLIQ_DECLARE_DRIVER)
#undef ORLIQ_DECLARE_DRIVER
