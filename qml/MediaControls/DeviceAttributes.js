.pragma library

/* The attributes of the devices. Id 3 has two names: the mixer's measurement and the microphones' switch. */
const ids = {
    mute: 1,
    power: 2,
    auto_gain: 3,
    auto_gain_on: 3,
    listen_output: 4,
    mic_gain: 5,
    listen_volume: 6,
    mic_listen_ratio: 7,
    usb_audio_version: 8,
    mcu_version: 9,
    background_static_effect: 10,
    background_breath_effect: 11,
    background_wave_effect: 12,
    input_sound_wave_light_color: 13,
    background_light_off: 14,
    input_sound_wave_direction: 15,
    mic_gain_light_color: 16,
    listen_volume_light_color: 17,
    mic_listen_ratio_light_color: 18,
    rgb_light_brightness: 19,
    rgb_light_off: 21,
    background_wave_light_direction: 22,
    anti_noise: 23,
    ai_jianzao: 24,
    device_boom_value: 25,
    other_light_off: 26,
    reset_factory_settings: 27,
    device_compressor: 28,
    device_compressor_value: 29,
    // dB of each of the mixer's 30 gain steps
    auto_gain_map: [10, 11.24, 12.57, 13.98, 15.35, 16.98, 18.31, 19.9, 21.82, 23.37, 25.35, 27.27, 28.87, 30.81, 33.45, 35.16, 37.28, 39.3, 41.2, 43.22, 46.7, 48.7, 50.7, 53.7, 56.7, 58.7, 61.7, 64.8, 67.8, 70]
};
