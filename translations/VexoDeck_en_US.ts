<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en_US" sourcelanguage="zh_CN">
<context>
    <name>AccessNotice</name>
    <message>
        <source>无法打开设备：请关闭正在使用它的程序，然后重新插拔设备</source>
        <translation>The device cannot be opened: close the program that uses it, then plug the device in again</translation>
    </message>
    <message>
        <source>没有设备的访问权限：请安装 udev 规则 70-vexo-deck.rules，然后重新插拔设备</source>
        <translation>No permission to access the device: install the udev rule 70-vexo-deck.rules, then plug the device in again</translation>
    </message>
</context>
<context>
    <name>ApplicationUpdate</name>
    <message>
        <source>有新版本可升级，是否重启并升级软件？</source>
        <translation>A new version is available. Relaunch and update now?</translation>
    </message>
    <message>
        <source>有新版本可升级，是否打开下载页面？</source>
        <translation>A new version is available. Open the download page?</translation>
    </message>
    <message>
        <source>VEXO Mixdesk R2 有新固件可升级，是否升级设备？</source>
        <translation>New firmware is available for VEXO Mixdesk R2. Upgrade the device now?</translation>
    </message>
    <message>
        <source>正在检测更新</source>
        <translation>Checking for updates</translation>
    </message>
    <message>
        <source>新版本下载失败，请检查网络环境或稍后重试</source>
        <translation>Failed to download required update.Please check your internet connection and try again.</translation>
    </message>
    <message>
        <source>新版本</source>
        <translation>New version</translation>
    </message>
    <message>
        <source>下载完成，重新启动以进行升级</source>
        <translation>Download complete, restart to upgrade</translation>
    </message>
    <message>
        <source>有新版本可升级</source>
        <translation>A new version is available</translation>
    </message>
    <message>
        <source>正在下载新版本</source>
        <translation>Downloading new version</translation>
    </message>
    <message>
        <source>当前已是最新版本</source>
        <translation>is up to date</translation>
    </message>
    <message>
        <source>重试</source>
        <translation>Retry</translation>
    </message>
    <message>
        <source>立即更新</source>
        <translation>Update Now</translation>
    </message>
    <message>
        <source>检查更新</source>
        <translation>Check for Updates</translation>
    </message>
</context>
<context>
    <name>AudioBoost</name>
    <message>
        <source>防爆音</source>
        <translation>Clipping Control</translation>
    </message>
    <message>
        <source>用于限制音频信号的最大音量，开启后，动态控制话筒音量，防止突发爆音</source>
        <translation>Use a limitor to prevent distortion from level peaks.</translation>
    </message>
    <message>
        <source>音频增强</source>
        <translation>Audio boost</translation>
    </message>
    <message>
        <source>原声</source>
        <translation>Acoustic</translation>
    </message>
    <message>
        <source>播客</source>
        <translation>Podcast</translation>
    </message>
    <message>
        <source>游戏</source>
        <translation>Game</translation>
    </message>
    <message>
        <source>直播</source>
        <translation>Live</translation>
    </message>
    <message>
        <source>自定义</source>
        <translation>Custom</translation>
    </message>
    <message>
        <source>AI降噪</source>
        <translation>AI Noise cancellation</translation>
    </message>
    <message>
        <source>弱降噪可以在消除环境噪音的同时，保持高音质收音效果。强降噪可以更好的消除环境噪音，音质损失较弱降噪略大</source>
        <translation>Light noise reduction maintains high-quality audio while reducing ambient noise. Strong noise reduction provides better noise cancellation, with slightly more audio quality loss than light noise reduction.</translation>
    </message>
    <message>
        <source>弱降噪</source>
        <translation>Weak</translation>
    </message>
    <message>
        <source>强降噪</source>
        <translation>Strong</translation>
    </message>
    <message>
        <source>压缩器</source>
        <translation>Compressor</translation>
    </message>
    <message>
        <source>压缩器用于控制音频信号的动态范围，开启后，可避免音量过高导致失真或听感刺耳。</source>
        <translation>Compressor helps to control levels by reducing dynamic range.Enable to prevents distortion from loud sounds.</translation>
    </message>
    <message>
        <source>均衡器</source>
        <translation>Equalizer</translation>
    </message>
    <message>
        <source>调节不同频率的音色，让你的声音更清晰、更有个性。</source>
        <translation>Tune different frequencies to make your voice clearer and more unique.</translation>
    </message>
</context>
<context>
    <name>AudioController</name>
    <message>
        <source>只听</source>
        <translation>Solo</translation>
    </message>
    <message>
        <source>监听静音</source>
        <translation>Mute in monitor mix</translation>
    </message>
    <message>
        <source>直播静音</source>
        <translation>Mute in stream mix</translation>
    </message>
</context>
<context>
    <name>AutoGainWindow</name>
    <message>
        <source>自动增益</source>
        <translation>Auto Gain</translation>
    </message>
    <message>
        <source>使用正常的音量讲话
倒计时 </source>
        <translation>Speak at your normal volume
Countdown </translation>
    </message>
    <message>
        <source>设置成功
增益为 </source>
        <translation>Success
Gain is set to </translation>
    </message>
    <message>
        <source>设置成功
增益为 0 dB</source>
        <translation>Success
Gain is set to 0 dB.</translation>
    </message>
    <message>
        <source>取消</source>
        <translation>Cancel</translation>
    </message>
    <message>
        <source>确定</source>
        <translation>OK</translation>
    </message>
</context>
<context>
    <name>BootloaderNotice</name>
    <message>
        <source>新版本下载失败，请检查网络环境或稍后重试</source>
        <translation>Failed to download required update.Please check your internet connection and try again.</translation>
    </message>
    <message>
        <source>VEXO Mixdesk R2 的固件升级没有完成</source>
        <translation>The firmware update of the VEXO Mixdesk R2 was not completed</translation>
    </message>
    <message>
        <source>VEXO Mixdesk R2 的固件升级没有完成，缺少固件文件</source>
        <translation>The firmware update of the VEXO Mixdesk R2 was not completed, and its firmware file is missing</translation>
    </message>
    <message>
        <source>取消</source>
        <translation>Cancel</translation>
    </message>
    <message>
        <source>下载固件</source>
        <translation>Download Firmware</translation>
    </message>
    <message>
        <source>恢复</source>
        <translation>Restore</translation>
    </message>
</context>
<context>
    <name>ColorArea</name>
    <message>
        <source>色相和饱和度</source>
        <translation>Hue and saturation</translation>
    </message>
</context>
<context>
    <name>ColorPicker</name>
    <message>
        <source>选择颜色</source>
        <translation>Choose color</translation>
    </message>
</context>
<context>
    <name>ConsentQuestion</name>
    <message>
        <source>是否与VEXO分享使用数据？</source>
        <translation>Share usage data with VEXO?</translation>
    </message>
    <message>
        <source>同意</source>
        <translation>Agree</translation>
    </message>
    <message>
        <source>不同意</source>
        <translation>Disagree</translation>
    </message>
</context>
<context>
    <name>CustomColorSelect</name>
    <message>
        <source>选择颜色</source>
        <translation>Choose color</translation>
    </message>
    <message>
        <source>重置</source>
        <translation>Reset</translation>
    </message>
</context>
<context>
    <name>CustomComAppBox</name>
    <message>
        <source>系统浏览器</source>
        <translation>Open Browser</translation>
    </message>
    <message>
        <source>请选择应用</source>
        <translation>Please select an app</translation>
    </message>
</context>
<context>
    <name>CustomComAppPlus</name>
    <message>
        <source>没有正在播放声音的应用</source>
        <translation>No app is playing sound</translation>
    </message>
</context>
<context>
    <name>CustomCycColorSelect</name>
    <message>
        <source>颜色</source>
        <translation>Color</translation>
    </message>
    <message>
        <source>添加颜色</source>
        <translation>Add color</translation>
    </message>
    <message>
        <source>删除颜色</source>
        <translation>Delete color</translation>
    </message>
    <message>
        <source>重置</source>
        <translation>Reset</translation>
    </message>
</context>
<context>
    <name>CustomMultColorSelect</name>
    <message>
        <source>渐变</source>
        <translation>Gradient</translation>
    </message>
    <message>
        <source>自定义</source>
        <translation>Custom</translation>
    </message>
    <message>
        <source>重置</source>
        <translation>Reset</translation>
    </message>
    <message>
        <source>选择颜色</source>
        <translation>Choose color</translation>
    </message>
</context>
<context>
    <name>CustomerWindow</name>
    <message>
        <source>客服</source>
        <translation>Contact Support</translation>
    </message>
    <message>
        <source>联系我们</source>
        <translation>Contact Us</translation>
    </message>
    <message>
        <source>周一到周日：9:00-12:00，13:00-18:00 (GMT+8)</source>
        <translation>Mon to Sun: 9:00-12:00, 13:00-18:00 (GMT+8)</translation>
    </message>
    <message>
        <source>电话</source>
        <translation>Phone</translation>
    </message>
    <message>
        <source>企业微信（请扫码添加客服）</source>
        <translation>Enterprise WeChat (Scan QR code to add customer service)</translation>
    </message>
    <message>
        <source>邮箱</source>
        <translation>Email</translation>
    </message>
    <message>
        <source>Support</source>
        <translation>Support</translation>
    </message>
    <message>
        <source>Mon to Sun.9:00-12:00,13:00-18:30 (GMT+8)</source>
        <translation>Mon to Sun.9:00-12:00,13:00-18:30 (GMT+8)</translation>
    </message>
    <message>
        <source>Online Support</source>
        <translation>Online Support</translation>
    </message>
    <message>
        <source>WhatsApp</source>
        <translation>WhatsApp</translation>
    </message>
    <message>
        <source>Email</source>
        <translation>Email</translation>
    </message>
</context>
<context>
    <name>DeviceSettings</name>
    <message>
        <source>话筒</source>
        <translation>Mic</translation>
    </message>
    <message>
        <source>监听</source>
        <translation>Monitor</translation>
    </message>
    <message>
        <source>灯光</source>
        <translation>Lighting</translation>
    </message>
    <message>
        <source>通用</source>
        <translation>General</translation>
    </message>
    <message>
        <source>设备设置</source>
        <translation>Device settings</translation>
    </message>
    <message>
        <source>返回</source>
        <translation>Back</translation>
    </message>
</context>
<context>
    <name>DirectionRow</name>
    <message>
        <source>方向</source>
        <translation>Direction</translation>
    </message>
    <message>
        <source>向左</source>
        <translation>Left</translation>
    </message>
    <message>
        <source>向右</source>
        <translation>Right</translation>
    </message>
</context>
<context>
    <name>EqualizerNames</name>
    <message>
        <source>原声</source>
        <translation>Acoustic</translation>
    </message>
    <message>
        <source>人声增强</source>
        <translation>Vocal Boost</translation>
    </message>
    <message>
        <source>低切75Hz</source>
        <translation>Low Cut 75 Hz</translation>
    </message>
    <message>
        <source>低切150Hz</source>
        <translation>Low Cut 150 Hz</translation>
    </message>
    <message>
        <source>自定义</source>
        <translation>Custom</translation>
    </message>
    <message>
        <source>平坦</source>
        <translation>Flat</translation>
    </message>
    <message>
        <source>中频增强</source>
        <translation>Midrange Boost</translation>
    </message>
    <message>
        <source>低中频增强</source>
        <translation>Mid-Bass Boost</translation>
    </message>
</context>
<context>
    <name>EqualizerPresets</name>
    <message>
        <source>均衡器</source>
        <translation>Equalizer</translation>
    </message>
    <message>
        <source>添加均衡器预设</source>
        <translation>Add equalizer preset</translation>
    </message>
</context>
<context>
    <name>EqualizerRow</name>
    <message>
        <source>关闭</source>
        <translation>Off</translation>
    </message>
</context>
<context>
    <name>EqualizerWindow</name>
    <message>
        <source>均衡器</source>
        <translation>Equalizer</translation>
    </message>
    <message>
        <source>调节不同频率的音色，让你的声音更清晰、更有个性。</source>
        <translation>Tune different frequencies to make your voice clearer and more unique.</translation>
    </message>
    <message>
        <source>拖动曲线上的点进行调节</source>
        <translation>Drag the points on the curve to adjust</translation>
    </message>
    <message>
        <source>删除</source>
        <translation>Delete</translation>
    </message>
</context>
<context>
    <name>FirmwareRow</name>
    <message>
        <source>正在检测更新</source>
        <translation>Checking for updates</translation>
    </message>
    <message>
        <source>有固件可升级</source>
        <translation>Firmware update available</translation>
    </message>
    <message>
        <source>当前已是最新版本</source>
        <translation>is up to date</translation>
    </message>
    <message>
        <source>立即更新</source>
        <translation>Update Now</translation>
    </message>
    <message>
        <source>检查更新</source>
        <translation>Check for Updates</translation>
    </message>
</context>
<context>
    <name>GeneralTab</name>
    <message>
        <source>通用</source>
        <translation>General</translation>
    </message>
    <message>
        <source>采样率</source>
        <translation>Sample Rate</translation>
    </message>
    <message>
        <source>指示灯</source>
        <translation>Indicator</translation>
    </message>
</context>
<context>
    <name>HotkeyCard</name>
    <message>
        <source>热键</source>
        <translation>Hotkey</translation>
    </message>
    <message>
        <source>旋钮按键</source>
        <translation>Double tap control dial</translation>
    </message>
    <message>
        <source>当Vexo Deck 在后台运行时，双击旋钮可执行自定义功能。</source>
        <translation>Double tap control dial to enable hotkey when Vexo Deck is running in the background.</translation>
    </message>
    <message>
        <source>系统截图</source>
        <translation>Take Screenshot</translation>
    </message>
    <message>
        <source>系统录屏</source>
        <translation>Start Screen Recording</translation>
    </message>
</context>
<context>
    <name>KeyField</name>
    <message>
        <source>请输入键位</source>
        <translation>Please enter key set</translation>
    </message>
    <message>
        <source>正在录制按键</source>
        <translation>Recording keys</translation>
    </message>
</context>
<context>
    <name>LightingBackground</name>
    <message>
        <source>背景</source>
        <translation>Background</translation>
    </message>
    <message>
        <source>声卡接电时显示背景灯光</source>
        <translation>Background lighting is on while the device is powered</translation>
    </message>
    <message>
        <source>效果</source>
        <translation>Effect</translation>
    </message>
    <message>
        <source>静态</source>
        <translation>Static</translation>
    </message>
    <message>
        <source>呼吸</source>
        <translation>Breathing</translation>
    </message>
    <message>
        <source>波浪</source>
        <translation>Wave</translation>
    </message>
    <message>
        <source>关闭</source>
        <translation>Off</translation>
    </message>
</context>
<context>
    <name>LightingIndicators</name>
    <message>
        <source>指示灯</source>
        <translation>Indicator</translation>
    </message>
    <message>
        <source>麦克风增益</source>
        <translation>Mic Gain</translation>
    </message>
    <message>
        <source>监听音量</source>
        <translation>Monitor Volume</translation>
    </message>
    <message>
        <source>麦克风/电脑音量监听比</source>
        <translation>Mic/PC Mix</translation>
    </message>
    <message>
        <source>静音</source>
        <translation>Mute</translation>
    </message>
</context>
<context>
    <name>LightingInput</name>
    <message>
        <source>输入</source>
        <translation>Input</translation>
    </message>
    <message>
        <source>话筒输入时，根据音量大小动态显示</source>
        <translation>Follows the volume of the mic input</translation>
    </message>
</context>
<context>
    <name>LightingOther</name>
    <message>
        <source>其他</source>
        <translation>Other</translation>
    </message>
    <message>
        <source>亮度</source>
        <translation>Brightness</translation>
    </message>
    <message>
        <source>关闭灯光</source>
        <translation>Turn off lights</translation>
    </message>
    <message>
        <source>关闭显示屏时自动关灯</source>
        <translation>Turn off lights when the display is off</translation>
    </message>
    <message>
        <source>关闭RGB灯</source>
        <translation>Turn off RGB lights</translation>
    </message>
</context>
<context>
    <name>LightingSub1</name>
    <message>
        <source>颜色</source>
        <translation>Color</translation>
    </message>
    <message>
        <source>单色</source>
        <translation>Solid</translation>
    </message>
    <message>
        <source>幻彩</source>
        <translation>Gradient</translation>
    </message>
</context>
<context>
    <name>LightingSub2</name>
    <message>
        <source>颜色</source>
        <translation>Color</translation>
    </message>
    <message>
        <source>单色</source>
        <translation>Solid</translation>
    </message>
    <message>
        <source>循环</source>
        <translation>Loop</translation>
    </message>
    <message>
        <source>循环顺序</source>
        <translation>Loop order</translation>
    </message>
</context>
<context>
    <name>LightingSub3</name>
    <message>
        <source>波浪</source>
        <translation>Wave</translation>
    </message>
</context>
<context>
    <name>LightnessBar</name>
    <message>
        <source>明度</source>
        <translation>Lightness</translation>
    </message>
</context>
<context>
    <name>MainSettings</name>
    <message>
        <source>输出</source>
        <translation>OUTPUTS</translation>
    </message>
    <message>
        <source>直播</source>
        <translation>STREAM MIX</translation>
    </message>
    <message>
        <source>监听</source>
        <translation>MONITOR MIX</translation>
    </message>
    <message>
        <source>输入</source>
        <translation>INPUTS</translation>
    </message>
    <message>
        <source>添加应用</source>
        <translation>Add app</translation>
    </message>
    <message>
        <source>点击添加正在播放声音的应用或话筒，单独调节它在直播和监听中的音量</source>
        <translation>Click to add an app that is playing sound, or a mic, and set its own volume in the stream mix and the monitor mix</translation>
    </message>
</context>
<context>
    <name>MessageDialog</name>
    <message>
        <source>有新版本可升级,是否重启并升级软件?</source>
        <translation>A new version is available. Restart and upgrade now?</translation>
    </message>
    <message>
        <source>取消</source>
        <translation>Cancel</translation>
    </message>
    <message>
        <source>立即升级</source>
        <translation>Update Now</translation>
    </message>
</context>
<context>
    <name>MicrophoneInput</name>
    <message>
        <source>自动增益</source>
        <translation>Auto Gain</translation>
    </message>
    <message>
        <source>开启后，话筒音量将自动调节至最佳增益。</source>
        <translation>Microphone will automatically adjust to optimal gain when enabled.</translation>
    </message>
    <message>
        <source>XLR输入</source>
        <translation>XLR Input</translation>
    </message>
    <message>
        <source>话筒</source>
        <translation>Mic</translation>
    </message>
    <message>
        <source>增益</source>
        <translation>Gain</translation>
    </message>
    <message>
        <source>提高增益，避免声音过小。
降低增益，避免声音失真。</source>
        <translation>Increase gain to avoid low volume.
Decrease gain to prevent distortion.</translation>
    </message>
    <message>
        <source>开始检测</source>
        <translation>Start</translation>
    </message>
    <message>
        <source>静音</source>
        <translation>Mute</translation>
    </message>
    <message>
        <source>48V幻象电源</source>
        <translation>48V Phantom Power</translation>
    </message>
</context>
<context>
    <name>MonitorTab</name>
    <message>
        <source>监听</source>
        <translation>Monitor</translation>
    </message>
    <message>
        <source>麦克风/电脑监听比</source>
        <translation>Mic/PC Mix</translation>
    </message>
    <message>
        <source>监听音量</source>
        <translation>Monitor Volume</translation>
    </message>
</context>
<context>
    <name>MoreButton</name>
    <message>
        <source>更多</source>
        <translation>More</translation>
    </message>
    <message>
        <source>帮助</source>
        <translation>Help Centre</translation>
    </message>
    <message>
        <source>客服</source>
        <translation>Contact Support</translation>
    </message>
    <message>
        <source>设置</source>
        <translation>Settings</translation>
    </message>
</context>
<context>
    <name>MorePopup</name>
    <message>
        <source>更多</source>
        <translation>More</translation>
    </message>
</context>
<context>
    <name>ResetRow</name>
    <message>
        <source>恢复出厂</source>
        <translation>Factory Reset</translation>
    </message>
</context>
<context>
    <name>ResetWindow</name>
    <message>
        <source>恢复出厂</source>
        <translation>Factory Reset</translation>
    </message>
    <message>
        <source>恢复出厂设置后，所有设置将恢复至默认状态，确定要恢复出厂设置吗？</source>
        <translation>Performing a factory reset will erase all configuration. Are you sure?</translation>
    </message>
    <message>
        <source>设置中</source>
        <translation>Performing</translation>
    </message>
    <message>
        <source>成功</source>
        <translation>成功</translation>
    </message>
    <message>
        <source>取消</source>
        <translation>Cancel</translation>
    </message>
    <message>
        <source>确定</source>
        <translation>OK</translation>
    </message>
</context>
<context>
    <name>SettingsWindow</name>
    <message>
        <source>设置</source>
        <translation>Settings</translation>
    </message>
    <message>
        <source>关于 Vexo Deck</source>
        <translation>About Vexo Deck</translation>
    </message>
    <message>
        <source>自动安装最新版本</source>
        <translation>Automatically install updates</translation>
    </message>
    <message>
        <source>如关闭自动安装，你仍会收到新版本提示，但需手动点击“立即升级”后才可升级</source>
        <translation>If automated installation is off, you&apos;ll still receive new version notifications, but you need to manually click &quot;Update&quot; to complete the update.</translation>
    </message>
    <message>
        <source>语言</source>
        <translation>Language</translation>
    </message>
    <message>
        <source>分析</source>
        <translation>Analytics</translation>
    </message>
    <message>
        <source>与VEXO分享使用数据</source>
        <translation>Share VEXO usage data</translation>
    </message>
    <message>
        <source>隐私政策</source>
        <translation>Privacy Policy</translation>
    </message>
</context>
<context>
    <name>StripHead</name>
    <message>
        <source>删除</source>
        <translation>Delete</translation>
    </message>
    <message>
        <source>设备设置</source>
        <translation>Device settings</translation>
    </message>
</context>
<context>
    <name>SwatchGrid</name>
    <message>
        <source>添加颜色</source>
        <translation>Add color</translation>
    </message>
</context>
<context>
    <name>ThresholdBlock</name>
    <message>
        <source>低</source>
        <translation>Low</translation>
    </message>
    <message>
        <source>中</source>
        <translation>Medium</translation>
    </message>
    <message>
        <source>高</source>
        <translation>High</translation>
    </message>
</context>
<context>
    <name>TitleBar</name>
    <message>
        <source>最小化</source>
        <translation>Minimize</translation>
    </message>
    <message>
        <source>还原</source>
        <translation>Restore</translation>
    </message>
    <message>
        <source>最大化</source>
        <translation>Maximize</translation>
    </message>
    <message>
        <source>关闭</source>
        <translation>Close</translation>
    </message>
</context>
<context>
    <name>UpgradeView</name>
    <message>
        <source>请不要断开设备连接或关闭应用。
升级期间监听比灯亮属于正常自检，不会修改设置。</source>
        <translation>Please do not unplug the VEXO device or quit Vexo Deck
The Mic/PC Mix indicator lights up during the update as part of a self-check. This will not change your settings.</translation>
    </message>
    <message>
        <source>升级中，请不要断开设备连接或关闭应用</source>
        <translation>Update in progress，please do not unplug the VEXO device or quit Vexo Deck</translation>
    </message>
    <message>
        <source>取消</source>
        <translation>Cancel</translation>
    </message>
    <message>
        <source>确定</source>
        <translation>OK</translation>
    </message>
    <message>
        <source>重试</source>
        <translation>Retry</translation>
    </message>
</context>
<context>
    <name>UpgradeWindow</name>
    <message>
        <source>软件升级</source>
        <translation>Software Update</translation>
    </message>
    <message>
        <source>安装程序无法启动，请从下载页面获取最新版本</source>
        <translation>The installer could not be started. Please get the latest version from the download page</translation>
    </message>
    <message>
        <source>取消</source>
        <translation>Cancel</translation>
    </message>
    <message>
        <source>打开下载页面</source>
        <translation>Open download page</translation>
    </message>
</context>
<context>
    <name>UrlField</name>
    <message>
        <source>请输入URL</source>
        <translation>Please enter URL</translation>
    </message>
</context>
<context>
    <name>WelcomeLayout</name>
    <message>
        <source>正在下载最新固件</source>
        <translation>Downloading the latest firmware</translation>
    </message>
    <message>
        <source>新版本下载失败，请检查网络环境或稍后重试</source>
        <translation>Failed to download required update.Please check your internet connection and try again.</translation>
    </message>
    <message>
        <source>正在安装最新固件</source>
        <translation>Installing the latest firmware</translation>
    </message>
    <message>
        <source>升级失败</source>
        <translation>Failed</translation>
    </message>
    <message>
        <source>升级成功</source>
        <translation>Success</translation>
    </message>
</context>
<context>
    <name>WelcomeView</name>
    <message>
        <source>VEXO 设备</source>
        <translation>VEXO device</translation>
    </message>
    <message>
        <source>连接你的 VEXO 设备</source>
        <translation>Connect Your VEXO Device</translation>
    </message>
    <message>
        <source>Vexo Deck 可将你的兼容设备变身为强大中枢
支持低延迟混音，体验高清音质，享受每一次声音表达</source>
        <translation>Vexo Deck turns your compatible gear into a powerful hub. Enjoy low-latency mixing, crystal-clear sound, and effortless expression of every voice.</translation>
    </message>
    <message>
        <source>已连接</source>
        <translation>Connected</translation>
    </message>
    <message>
        <source>开启高清音质之旅</source>
        <translation>Get Started</translation>
    </message>
</context>
<context>
    <name>WindowFrame</name>
    <message>
        <source>正在安装固件，现在退出会中断升级。确定要退出吗？</source>
        <translation>Firmware is being installed, and quitting now interrupts the update. Quit anyway?</translation>
    </message>
</context>
</TS>
