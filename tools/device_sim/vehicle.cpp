#include "device_sim/vehicle.h"

#include <cmath>

#include "device_sim/random.h"
#include "device_sim/simulation_time.h"

static constexpr double DEGREES = 180.0 / M_PI; // in a radian
static constexpr double GRAVITY = 9.80665;      // m/s^2
static constexpr double HEIGHT = 40.0;          // m, of the course above the ellipsoid
static constexpr int64_t UTC_START =
    1717243200; // 2024-06-01 12:00:00, for the same bytes every run

// Standard deviations of the noise.
static constexpr double FORCE_NOISE = 0.02;                 // m/s^2
static constexpr double RATE_NOISE = 0.001;                 // rad/s
static constexpr double HEADING_NOISE = 0.002;              // rad
static constexpr double PITCH_NOISE = 0.001;                // rad
static constexpr Vector POSITION_NOISE = {0.5, 0.5, 1};     // m
static constexpr Vector VELOCITY_NOISE = {0.05, 0.05, 0.1}; // m/s
static constexpr double TEMPERATURE_NOISE = 5;              // 0.01 K

// The channels keep the noise of quantities measured at the same time apart.
enum channel_e : unsigned
{
    Force = 0,
    Rate = 3,
    Heading = 6,
    Pitch = 7,
    Position = 8,
    Velocity = 11,
    Temperature = 14,
    Satellites = 15
};

static Vector operator+(Vector const& a, Vector const& b)
{
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}

// To the nearest integer, in the record's unit.
static int32_t inUnits(double value, double unitsPerValue)
{
    return static_cast<int32_t>(llround(value * unitsPerValue));
}

Vehicle::Vehicle(Settings const& settings) : m_settings(settings)
{
    // The radii of curvature of the WGS 84 ellipsoid at the centre serve for the whole course.
    static constexpr double EQUATORIAL_RADIUS = 6378137.0; // m
    static constexpr double ECCENTRICITY_SQUARED = 6.69437999e-3;

    double const latitude = settings.latitude / DEGREES;
    double const q = 1.0 - ECCENTRICITY_SQUARED * sin(latitude) * sin(latitude);
    double const primeVertical = EQUATORIAL_RADIUS / sqrt(q);
    double const meridian = primeVertical * (1.0 - ECCENTRICITY_SQUARED) / q;
    m_northScale = DEGREES / (meridian + HEIGHT);
    m_eastScale = DEGREES / ((primeVertical + HEIGHT) * cos(latitude));
}

uint32_t Vehicle::ticksAt(int64_t time) const
{
    return m_settings.startTicks +
           static_cast<uint32_t>(time / NS_PER_MS); // wraps, as the device's
}

double Vehicle::noise(int64_t time, unsigned channel, double deviation) const
{
    uint64_t const bits = mix(mix(mix(m_settings.seed) ^ static_cast<uint64_t>(time)) + channel);

    // The sum of four uniform numbers is near enough to a normal one, and the same on any machine.
    static constexpr unsigned TERMS = 4;
    static constexpr double RANGE = 65536.0;
    double sum = 0.0;
    for (unsigned i = 0; i < TERMS; ++i)
        sum += static_cast<double>(bits >> (16 * i) & 0xFFFF) / RANGE - 0.5;
    return deviation * sum * sqrt(12.0 / TERMS);
}

Vector Vehicle::noise(int64_t time, unsigned firstChannel, Vector const& deviations) const
{
    return {noise(time, firstChannel, deviations.x), noise(time, firstChannel + 1, deviations.y),
            noise(time, firstChannel + 2, deviations.z)};
}

void Vehicle::measure(int64_t time, ImuData& record) const
{
    // The Earth's rotation is far below the noise.
    Motion const motion = motionAt(time);
    Vector const force = motion.toBody(motion.acceleration + Vector{0.0, 0.0, -GRAVITY}) +
                         noise(time, Force, {FORCE_NOISE, FORCE_NOISE, FORCE_NOISE});
    Vector const rates =
        motion.angularRates() + noise(time, Rate, {RATE_NOISE, RATE_NOISE, RATE_NOISE});

    record.ticks = ticksAt(time);
    double const values[] = {force.x, force.y, force.z, rates.x, rates.y, rates.z};
    for (unsigned i = 0; i < 6; ++i)
        record.values[i] = static_cast<float>(values[i]);
}

void Vehicle::measure(int64_t time, GnssPvt& record) const
{
    static constexpr int32_t FIX_3D = 4;
    static constexpr double MM = 1e3;             // in a metre
    static constexpr double POSITION_UNITS = 1e7; // in a degree
    static constexpr double ANGLE_UNITS = 1e5;    // in a degree

    Motion const motion = motionAt(time);
    Vector const position = motion.position + noise(time, Position, POSITION_NOISE);
    Vector const velocity = motion.velocity + noise(time, Velocity, VELOCITY_NOISE);
    double const latitude = m_settings.latitude + position.x * m_northScale;
    double const longitude = m_settings.longitude + position.y * m_eastScale;
    double const speed = hypot(velocity.x, velocity.y);
    double const heading = atan2(velocity.y, velocity.x) * DEGREES;

    record.ticks = ticksAt(time);
    record.fixType = FIX_3D;
    record.utcTime = static_cast<int32_t>(UTC_START + time / NS_PER_S);
    record.timeAccuracy = 25;
    record.satelliteCount = static_cast<uint32_t>(14 + inUnits(noise(time, Satellites, 1.0), 1.0));
    record.longitude = inUnits(remainder(longitude, 360.0), POSITION_UNITS);
    record.latitude = inUnits(latitude, POSITION_UNITS);
    record.altitude = inUnits(HEIGHT - position.z, MM);
    record.horizontalAccuracy =
        static_cast<uint32_t>(inUnits(hypot(POSITION_NOISE.x, POSITION_NOISE.y), MM));
    record.verticalAccuracy = static_cast<uint32_t>(inUnits(POSITION_NOISE.z, MM));
    record.velocityNorth = inUnits(velocity.x, MM);
    record.velocityEast = inUnits(velocity.y, MM);
    record.velocityDown = inUnits(velocity.z, MM);
    record.groundSpeed = inUnits(speed, MM);
    record.headingOfMotion = inUnits(heading < 0.0 ? heading + 360.0 : heading, ANGLE_UNITS);
    record.speedAccuracy = static_cast<uint32_t>(inUnits(VELOCITY_NOISE.x, MM));
    record.headingAccuracy =
        static_cast<uint32_t>(inUnits(VELOCITY_NOISE.x / speed * DEGREES, ANGLE_UNITS));
    record.pDop = 150;
}

void Vehicle::measure(int64_t time, GnssData& record) const
{
    record.source = eGnssSource::Live;
    record.constellations = GNSS_CONSTELLATION_GPS | GNSS_CONSTELLATION_GLONASS |
                            GNSS_CONSTELLATION_GALILEO | GNSS_CONSTELLATION_BEIDOU;
    measure(time, record.pvt);
    record.dop = {record.pvt.ticks, 90, record.pvt.pDop, 120};
}

void Vehicle::measure(int64_t time, AttitudeData& record) const
{
    Motion const motion = motionAt(time);
    double const halfYaw = 0.5 * (motion.yaw + noise(time, Heading, HEADING_NOISE));
    double const halfPitch = 0.5 * (motion.pitch + noise(time, Pitch, PITCH_NOISE));

    record.ticks = ticksAt(time);
    record.values[0] = static_cast<float>(cos(halfYaw) * cos(halfPitch));
    record.values[1] = static_cast<float>(-sin(halfYaw) * sin(halfPitch));
    record.values[2] = static_cast<float>(cos(halfYaw) * sin(halfPitch));
    record.values[3] = static_cast<float>(sin(halfYaw) * cos(halfPitch));
    record.flags[0] = true;
    record.flags[1] = true;
    record.flags[2] = motion.yawRate > 0.0;
    record.flags[3] = motion.pitch > 0.0;
}

void Vehicle::measure(int64_t time, GenericData& record) const
{
    static constexpr int32_t BOARD_TEMPERATURE = 31315; // 0.01 K

    record.ticks = ticksAt(time);
    record.values[0] = static_cast<uint32_t>(time / NS_PER_S);
    record.values[1] = static_cast<uint32_t>(
        BOARD_TEMPERATURE + inUnits(noise(time, Temperature, TEMPERATURE_NOISE), 1.0));
}
