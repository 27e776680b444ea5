<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="ru_RU" sourcelanguage="zh_CN">
<context>
    <name>AccessNotice</name>
    <message>
        <source>无法打开设备：请关闭正在使用它的程序，然后重新插拔设备</source>
        <translation>Не удаётся открыть устройство: закройте программу, которая его использует, и подключите устройство заново</translation>
    </message>
    <message>
        <source>没有设备的访问权限：请安装 udev 规则 70-vexo-deck.rules，然后重新插拔设备</source>
        <translation>Нет прав доступа к устройству: установите правило udev 70-vexo-deck.rules и подключите устройство заново</translation>
    </message>
</context>
<context>
    <name>ApplicationUpdate</name>
    <message>
        <source>有新版本可升级，是否重启并升级软件？</source>
        <translation>Доступна новая версия. Перезапустить и обновить?</translation>
    </message>
    <message>
        <source>有新版本可升级，是否打开下载页面？</source>
        <translation>Доступна новая версия. Открыть страницу загрузки?</translation>
    </message>
    <message>
        <source>VEXO Mixdesk R2 有新固件可升级，是否升级设备？</source>
        <translation>Для VEXO Mixdesk R2 доступна новая прошивка. Обновить устройство?</translation>
    </message>
    <message>
        <source>正在检测更新</source>
        <translation>Проверка обновлений</translation>
    </message>
    <message>
        <source>新版本下载失败，请检查网络环境或稍后重试</source>
        <translation>Не удалось загрузить новую версию. Проверьте подключение к сети или повторите попытку позже</translation>
    </message>
    <message>
        <source>新版本</source>
        <translation>Новая версия</translation>
    </message>
    <message>
        <source>下载完成，重新启动以进行升级</source>
        <translation>загружена, перезапустите программу для обновления</translation>
    </message>
    <message>
        <source>有新版本可升级</source>
        <translation>Доступна новая версия</translation>
    </message>
    <message>
        <source>正在下载新版本</source>
        <translation>Загрузка новой версии</translation>
    </message>
    <message>
        <source>当前已是最新版本</source>
        <translation>не требует обновления</translation>
    </message>
    <message>
        <source>重试</source>
        <translation>Повторить</translation>
    </message>
    <message>
        <source>立即更新</source>
        <translation>Обновить</translation>
    </message>
    <message>
        <source>检查更新</source>
        <translation>Проверить обновления</translation>
    </message>
</context>
<context>
    <name>AudioBoost</name>
    <message>
        <source>防爆音</source>
        <translation>Защита от клиппинга</translation>
    </message>
    <message>
        <source>用于限制音频信号的最大音量，开启后，动态控制话筒音量，防止突发爆音</source>
        <translation>Ограничивает максимальный уровень сигнала, чтобы резкие пики в микрофоне не вызывали искажений.</translation>
    </message>
    <message>
        <source>音频增强</source>
        <translation>Улучшение звука</translation>
    </message>
    <message>
        <source>原声</source>
        <translation>Акустика</translation>
    </message>
    <message>
        <source>播客</source>
        <translation>Подкаст</translation>
    </message>
    <message>
        <source>游戏</source>
        <translation>Игра</translation>
    </message>
    <message>
        <source>直播</source>
        <translation>Стрим</translation>
    </message>
    <message>
        <source>自定义</source>
        <translation>Свой</translation>
    </message>
    <message>
        <source>AI降噪</source>
        <translation>ИИ-шумоподавление</translation>
    </message>
    <message>
        <source>弱降噪可以在消除环境噪音的同时，保持高音质收音效果。强降噪可以更好的消除环境噪音，音质损失较弱降噪略大</source>
        <translation>Слабое шумоподавление убирает фоновый шум и сохраняет высокое качество звука. Сильное убирает шум лучше, но качество звука снижается чуть заметнее.</translation>
    </message>
    <message>
        <source>弱降噪</source>
        <translation>Слабое</translation>
    </message>
    <message>
        <source>强降噪</source>
        <translation>Сильное</translation>
    </message>
    <message>
        <source>压缩器</source>
        <translation>Компрессор</translation>
    </message>
    <message>
        <source>压缩器用于控制音频信号的动态范围，开启后，可避免音量过高导致失真或听感刺耳。</source>
        <translation>Компрессор сужает динамический диапазон сигнала. Включите его, чтобы громкие звуки не искажались и не резали слух.</translation>
    </message>
    <message>
        <source>均衡器</source>
        <translation>Эквалайзер</translation>
    </message>
    <message>
        <source>调节不同频率的音色，让你的声音更清晰、更有个性。</source>
        <translation>Настройте тембр на разных частотах, чтобы голос звучал чище и выразительнее.</translation>
    </message>
</context>
<context>
    <name>AudioController</name>
    <message>
        <source>只听</source>
        <translation>Соло</translation>
    </message>
    <message>
        <source>监听静音</source>
        <translation>Заглушить в наушниках</translation>
    </message>
    <message>
        <source>直播静音</source>
        <translation>Заглушить в стриме</translation>
    </message>
</context>
<context>
    <name>AutoGainWindow</name>
    <message>
        <source>自动增益</source>
        <translation>Автоусиление</translation>
    </message>
    <message>
        <source>使用正常的音量讲话
倒计时 </source>
        <translation>Говорите с обычной громкостью
Осталось </translation>
    </message>
    <message>
        <source>设置成功
增益为 </source>
        <translation>Готово
Усиление: </translation>
    </message>
    <message>
        <source>设置成功
增益为 0 dB</source>
        <translation>Готово
Усиление: 0&#xa0;дБ</translation>
    </message>
    <message>
        <source>取消</source>
        <translation>Отмена</translation>
    </message>
    <message>
        <source>确定</source>
        <translation>ОК</translation>
    </message>
</context>
<context>
    <name>BootloaderNotice</name>
    <message>
        <source>新版本下载失败，请检查网络环境或稍后重试</source>
        <translation>Не удалось загрузить новую версию. Проверьте подключение к сети или повторите попытку позже</translation>
    </message>
    <message>
        <source>VEXO Mixdesk R2 的固件升级没有完成</source>
        <translation>Обновление прошивки VEXO Mixdesk R2 не завершено</translation>
    </message>
    <message>
        <source>VEXO Mixdesk R2 的固件升级没有完成，缺少固件文件</source>
        <translation>Обновление прошивки VEXO Mixdesk R2 не завершено: нет файла прошивки</translation>
    </message>
    <message>
        <source>取消</source>
        <translation>Отмена</translation>
    </message>
    <message>
        <source>下载固件</source>
        <translation>Загрузить прошивку</translation>
    </message>
    <message>
        <source>恢复</source>
        <translation>Восстановить</translation>
    </message>
</context>
<context>
    <name>ColorArea</name>
    <message>
        <source>色相和饱和度</source>
        <translation>Оттенок и насыщенность</translation>
    </message>
</context>
<context>
    <name>ColorPicker</name>
    <message>
        <source>选择颜色</source>
        <translation>Выбрать цвет</translation>
    </message>
</context>
<context>
    <name>ConsentQuestion</name>
    <message>
        <source>是否与VEXO分享使用数据？</source>
        <translation>Делиться с VEXO данными об использовании?</translation>
    </message>
    <message>
        <source>同意</source>
        <translation>Согласен</translation>
    </message>
    <message>
        <source>不同意</source>
        <translation>Не согласен</translation>
    </message>
</context>
<context>
    <name>CustomColorSelect</name>
    <message>
        <source>选择颜色</source>
        <translation>Выбрать цвет</translation>
    </message>
    <message>
        <source>重置</source>
        <translation>Сбросить</translation>
    </message>
</context>
<context>
    <name>CustomComAppBox</name>
    <message>
        <source>系统浏览器</source>
        <translation>Открыть браузер</translation>
    </message>
    <message>
        <source>请选择应用</source>
        <translation>Выберите приложение</translation>
    </message>
</context>
<context>
    <name>CustomComAppPlus</name>
    <message>
        <source>没有正在播放声音的应用</source>
        <translation>Нет приложений, воспроизводящих звук</translation>
    </message>
</context>
<context>
    <name>CustomCycColorSelect</name>
    <message>
        <source>颜色</source>
        <translation>Цвет</translation>
    </message>
    <message>
        <source>添加颜色</source>
        <translation>Добавить цвет</translation>
    </message>
    <message>
        <source>删除颜色</source>
        <translation>Удалить цвет</translation>
    </message>
    <message>
        <source>重置</source>
        <translation>Сбросить</translation>
    </message>
</context>
<context>
    <name>CustomMultColorSelect</name>
    <message>
        <source>渐变</source>
        <translation>Градиент</translation>
    </message>
    <message>
        <source>自定义</source>
        <translation>Свой</translation>
    </message>
    <message>
        <source>重置</source>
        <translation>Сбросить</translation>
    </message>
    <message>
        <source>选择颜色</source>
        <translation>Выбрать цвет</translation>
    </message>
</context>
<context>
    <name>CustomerWindow</name>
    <message>
        <source>客服</source>
        <translation>Служба поддержки</translation>
    </message>
    <message>
        <source>联系我们</source>
        <translation>Связаться с нами</translation>
    </message>
    <message>
        <source>周一到周日：9:00-12:00，13:00-18:00 (GMT+8)</source>
        <translation>Пн–Вс: 9:00-12:00, 13:00-18:00 (GMT+8)</translation>
    </message>
    <message>
        <source>电话</source>
        <translation>Телефон</translation>
    </message>
    <message>
        <source>企业微信（请扫码添加客服）</source>
        <translation>WeCom (отсканируйте QR-код, чтобы добавить поддержку)</translation>
    </message>
    <message>
        <source>邮箱</source>
        <translation>Эл. почта</translation>
    </message>
    <message>
        <source>Support</source>
        <translation>Поддержка</translation>
    </message>
    <message>
        <source>Mon to Sun.9:00-12:00,13:00-18:30 (GMT+8)</source>
        <translation>Пн–Вс: 9:00-12:00, 13:00-18:30 (GMT+8)</translation>
    </message>
    <message>
        <source>Online Support</source>
        <translation>Онлайн-поддержка</translation>
    </message>
    <message>
        <source>WhatsApp</source>
        <translation>WhatsApp</translation>
    </message>
    <message>
        <source>Email</source>
        <translation>Эл. почта</translation>
    </message>
</context>
<context>
    <name>DeviceSettings</name>
    <message>
        <source>话筒</source>
        <translation>Микрофон</translation>
    </message>
    <message>
        <source>监听</source>
        <translation>Наушники</translation>
    </message>
    <message>
        <source>灯光</source>
        <translation>Подсветка</translation>
    </message>
    <message>
        <source>通用</source>
        <translation>Общие</translation>
    </message>
    <message>
        <source>设备设置</source>
        <translation>Настройки устройства</translation>
    </message>
    <message>
        <source>返回</source>
        <translation>Назад</translation>
    </message>
</context>
<context>
    <name>DirectionRow</name>
    <message>
        <source>方向</source>
        <translation>Направление</translation>
    </message>
    <message>
        <source>向左</source>
        <translation>Влево</translation>
    </message>
    <message>
        <source>向右</source>
        <translation>Вправо</translation>
    </message>
</context>
<context>
    <name>EqualizerNames</name>
    <message>
        <source>原声</source>
        <translation>Акустика</translation>
    </message>
    <message>
        <source>人声增强</source>
        <translation>Чёткий голос</translation>
    </message>
    <message>
        <source>低切75Hz</source>
        <translation>Срез НЧ 75&#xa0;Гц</translation>
    </message>
    <message>
        <source>低切150Hz</source>
        <translation>Срез НЧ 150&#xa0;Гц</translation>
    </message>
    <message>
        <source>自定义</source>
        <translation>Свой</translation>
    </message>
    <message>
        <source>平坦</source>
        <translation>Ровный</translation>
    </message>
    <message>
        <source>中频增强</source>
        <translation>Подъём СЧ</translation>
    </message>
    <message>
        <source>低中频增强</source>
        <translation>Подъём нижних СЧ</translation>
    </message>
</context>
<context>
    <name>EqualizerPresets</name>
    <message>
        <source>均衡器</source>
        <translation>Эквалайзер</translation>
    </message>
    <message>
        <source>添加均衡器预设</source>
        <translation>Добавить пресет эквалайзера</translation>
    </message>
</context>
<context>
    <name>EqualizerRow</name>
    <message>
        <source>关闭</source>
        <translation>Выкл.</translation>
    </message>
</context>
<context>
    <name>EqualizerWindow</name>
    <message>
        <source>均衡器</source>
        <translation>Эквалайзер</translation>
    </message>
    <message>
        <source>调节不同频率的音色，让你的声音更清晰、更有个性。</source>
        <translation>Настройте тембр на разных частотах, чтобы голос звучал чище и выразительнее.</translation>
    </message>
    <message>
        <source>拖动曲线上的点进行调节</source>
        <translation>Перетаскивайте точки на кривой</translation>
    </message>
    <message>
        <source>删除</source>
        <translation>Удалить</translation>
    </message>
</context>
<context>
    <name>FirmwareRow</name>
    <message>
        <source>正在检测更新</source>
        <translation>Проверка обновлений</translation>
    </message>
    <message>
        <source>有固件可升级</source>
        <translation>— доступна новая прошивка</translation>
    </message>
    <message>
        <source>当前已是最新版本</source>
        <translation>не требует обновления</translation>
    </message>
    <message>
        <source>立即更新</source>
        <translation>Обновить</translation>
    </message>
    <message>
        <source>检查更新</source>
        <translation>Проверить обновления</translation>
    </message>
</context>
<context>
    <name>GeneralTab</name>
    <message>
        <source>通用</source>
        <translation>Общие</translation>
    </message>
    <message>
        <source>采样率</source>
        <translation>Частота дискретизации</translation>
    </message>
    <message>
        <source>指示灯</source>
        <translation>Индикатор</translation>
    </message>
</context>
<context>
    <name>HotkeyCard</name>
    <message>
        <source>热键</source>
        <translation>Горячая клавиша</translation>
    </message>
    <message>
        <source>旋钮按键</source>
        <translation>Двойное нажатие на ручку</translation>
    </message>
    <message>
        <source>当Vexo Deck 在后台运行时，双击旋钮可执行自定义功能。</source>
        <translation>Когда Vexo Deck работает в фоне, двойное нажатие ручки выполняет выбранное действие.</translation>
    </message>
    <message>
        <source>系统截图</source>
        <translation>Снимок экрана</translation>
    </message>
    <message>
        <source>系统录屏</source>
        <translation>Запись экрана</translation>
    </message>
</context>
<context>
    <name>KeyField</name>
    <message>
        <source>请输入键位</source>
        <translation>Введите сочетание клавиш</translation>
    </message>
    <message>
        <source>正在录制按键</source>
        <translation>Запись клавиш</translation>
    </message>
</context>
<context>
    <name>LightingBackground</name>
    <message>
        <source>背景</source>
        <translation>Фон</translation>
    </message>
    <message>
        <source>声卡接电时显示背景灯光</source>
        <translation>Фоновая подсветка включена, пока устройство под питанием</translation>
    </message>
    <message>
        <source>效果</source>
        <translation>Эффект</translation>
    </message>
    <message>
        <source>静态</source>
        <translation>Статичный</translation>
    </message>
    <message>
        <source>呼吸</source>
        <translation>Дыхание</translation>
    </message>
    <message>
        <source>波浪</source>
        <translation>Волна</translation>
    </message>
    <message>
        <source>关闭</source>
        <translation>Выкл.</translation>
    </message>
</context>
<context>
    <name>LightingIndicators</name>
    <message>
        <source>指示灯</source>
        <translation>Индикатор</translation>
    </message>
    <message>
        <source>麦克风增益</source>
        <translation>Усиление микрофона</translation>
    </message>
    <message>
        <source>监听音量</source>
        <translation>Громкость наушников</translation>
    </message>
    <message>
        <source>麦克风/电脑音量监听比</source>
        <translation>Баланс микрофон/ПК</translation>
    </message>
    <message>
        <source>静音</source>
        <translation>Без звука</translation>
    </message>
</context>
<context>
    <name>LightingInput</name>
    <message>
        <source>输入</source>
        <translation>Вход</translation>
    </message>
    <message>
        <source>话筒输入时，根据音量大小动态显示</source>
        <translation>Реагирует на громкость микрофона</translation>
    </message>
</context>
<context>
    <name>LightingOther</name>
    <message>
        <source>其他</source>
        <translation>Другое</translation>
    </message>
    <message>
        <source>亮度</source>
        <translation>Яркость</translation>
    </message>
    <message>
        <source>关闭灯光</source>
        <translation>Выключение подсветки</translation>
    </message>
    <message>
        <source>关闭显示屏时自动关灯</source>
        <translation>Выключать подсветку вместе с экраном</translation>
    </message>
    <message>
        <source>关闭RGB灯</source>
        <translation>Выключить RGB-подсветку</translation>
    </message>
</context>
<context>
    <name>LightingSub1</name>
    <message>
        <source>颜色</source>
        <translation>Цвет</translation>
    </message>
    <message>
        <source>单色</source>
        <translation>Одноцветный</translation>
    </message>
    <message>
        <source>幻彩</source>
        <translation>Градиент</translation>
    </message>
</context>
<context>
    <name>LightingSub2</name>
    <message>
        <source>颜色</source>
        <translation>Цвет</translation>
    </message>
    <message>
        <source>单色</source>
        <translation>Одноцветный</translation>
    </message>
    <message>
        <source>循环</source>
        <translation>Цикл</translation>
    </message>
    <message>
        <source>循环顺序</source>
        <translation>Порядок цикла</translation>
    </message>
</context>
<context>
    <name>LightingSub3</name>
    <message>
        <source>波浪</source>
        <translation>Волна</translation>
    </message>
</context>
<context>
    <name>LightnessBar</name>
    <message>
        <source>明度</source>
        <translation>Светлота</translation>
    </message>
</context>
<context>
    <name>MainSettings</name>
    <message>
        <source>输出</source>
        <translation>ВЫХОДЫ</translation>
    </message>
    <message>
        <source>直播</source>
        <translation>СТРИМ</translation>
    </message>
    <message>
        <source>监听</source>
        <translation>НАУШНИКИ</translation>
    </message>
    <message>
        <source>输入</source>
        <translation>ВХОДЫ</translation>
    </message>
    <message>
        <source>添加应用</source>
        <translation>Добавить приложение</translation>
    </message>
    <message>
        <source>点击添加正在播放声音的应用或话筒，单独调节它在直播和监听中的音量</source>
        <translation>Нажмите, чтобы добавить приложение со звуком или микрофон и отдельно настроить громкость в стриме и в наушниках</translation>
    </message>
</context>
<context>
    <name>MessageDialog</name>
    <message>
        <source>有新版本可升级,是否重启并升级软件?</source>
        <translation>Доступна новая версия. Перезапустить и обновить?</translation>
    </message>
    <message>
        <source>取消</source>
        <translation>Отмена</translation>
    </message>
    <message>
        <source>立即升级</source>
        <translation>Обновить</translation>
    </message>
</context>
<context>
    <name>MicrophoneInput</name>
    <message>
        <source>自动增益</source>
        <translation>Автоусиление</translation>
    </message>
    <message>
        <source>开启后，话筒音量将自动调节至最佳增益。</source>
        <translation>Если функция включена, микрофон автоматически настраивается на оптимальное усиление.</translation>
    </message>
    <message>
        <source>XLR输入</source>
        <translation>Вход XLR</translation>
    </message>
    <message>
        <source>话筒</source>
        <translation>Микрофон</translation>
    </message>
    <message>
        <source>增益</source>
        <translation>Усиление</translation>
    </message>
    <message>
        <source>提高增益，避免声音过小。
降低增益，避免声音失真。</source>
        <translation>Увеличьте усиление, если звук слишком тихий.
Уменьшите усиление, если звук искажается.</translation>
    </message>
    <message>
        <source>开始检测</source>
        <translation>Начать</translation>
    </message>
    <message>
        <source>静音</source>
        <translation>Без звука</translation>
    </message>
    <message>
        <source>48V幻象电源</source>
        <translation>Фантомное питание 48&#xa0;В</translation>
    </message>
</context>
<context>
    <name>MonitorTab</name>
    <message>
        <source>监听</source>
        <translation>Наушники</translation>
    </message>
    <message>
        <source>麦克风/电脑监听比</source>
        <translation>Баланс микрофон/ПК</translation>
    </message>
    <message>
        <source>监听音量</source>
        <translation>Громкость наушников</translation>
    </message>
</context>
<context>
    <name>MoreButton</name>
    <message>
        <source>更多</source>
        <translation>Ещё</translation>
    </message>
    <message>
        <source>帮助</source>
        <translation>Справка</translation>
    </message>
    <message>
        <source>客服</source>
        <translation>Служба поддержки</translation>
    </message>
    <message>
        <source>设置</source>
        <translation>Настройки</translation>
    </message>
</context>
<context>
    <name>MorePopup</name>
    <message>
        <source>更多</source>
        <translation>Ещё</translation>
    </message>
</context>
<context>
    <name>ResetRow</name>
    <message>
        <source>恢复出厂</source>
        <translation>Сброс настроек</translation>
    </message>
</context>
<context>
    <name>ResetWindow</name>
    <message>
        <source>恢复出厂</source>
        <translation>Сброс настроек</translation>
    </message>
    <message>
        <source>恢复出厂设置后，所有设置将恢复至默认状态，确定要恢复出厂设置吗？</source>
        <translation>Все настройки вернутся к исходным. Выполнить сброс?</translation>
    </message>
    <message>
        <source>设置中</source>
        <translation>Выполняется</translation>
    </message>
    <message>
        <source>成功</source>
        <translation>Готово</translation>
    </message>
    <message>
        <source>取消</source>
        <translation>Отмена</translation>
    </message>
    <message>
        <source>确定</source>
        <translation>ОК</translation>
    </message>
</context>
<context>
    <name>SettingsWindow</name>
    <message>
        <source>设置</source>
        <translation>Настройки</translation>
    </message>
    <message>
        <source>关于 Vexo Deck</source>
        <translation>О программе Vexo Deck</translation>
    </message>
    <message>
        <source>自动安装最新版本</source>
        <translation>Устанавливать обновления автоматически</translation>
    </message>
    <message>
        <source>如关闭自动安装，你仍会收到新版本提示，但需手动点击“立即升级”后才可升级</source>
        <translation>Если автоустановка выключена, вы всё равно узнаете о новых версиях, но для обновления нужно будет нажать «Обновить»</translation>
    </message>
    <message>
        <source>语言</source>
        <translation>Язык</translation>
    </message>
    <message>
        <source>分析</source>
        <translation>Аналитика</translation>
    </message>
    <message>
        <source>与VEXO分享使用数据</source>
        <translation>Делиться с VEXO данными об использовании</translation>
    </message>
    <message>
        <source>隐私政策</source>
        <translation>Политика конфиденциальности</translation>
    </message>
</context>
<context>
    <name>StripHead</name>
    <message>
        <source>删除</source>
        <translation>Удалить</translation>
    </message>
    <message>
        <source>设备设置</source>
        <translation>Настройки устройства</translation>
    </message>
</context>
<context>
    <name>SwatchGrid</name>
    <message>
        <source>添加颜色</source>
        <translation>Добавить цвет</translation>
    </message>
</context>
<context>
    <name>ThresholdBlock</name>
    <message>
        <source>低</source>
        <translation>Низкий</translation>
    </message>
    <message>
        <source>中</source>
        <translation>Средний</translation>
    </message>
    <message>
        <source>高</source>
        <translation>Высокий</translation>
    </message>
</context>
<context>
    <name>TitleBar</name>
    <message>
        <source>最小化</source>
        <translation>Свернуть</translation>
    </message>
    <message>
        <source>还原</source>
        <translation>Восстановить</translation>
    </message>
    <message>
        <source>最大化</source>
        <translation>Развернуть</translation>
    </message>
    <message>
        <source>关闭</source>
        <translation>Закрыть</translation>
    </message>
</context>
<context>
    <name>UpgradeView</name>
    <message>
        <source>请不要断开设备连接或关闭应用。
升级期间监听比灯亮属于正常自检，不会修改设置。</source>
        <translation>Не отключайте устройство и не закрывайте приложение.
Во время обновления горит индикатор баланса микрофон/ПК: это самопроверка, настройки не изменятся.</translation>
    </message>
    <message>
        <source>升级中，请不要断开设备连接或关闭应用</source>
        <translation>Идёт обновление. Не отключайте устройство и не закрывайте приложение</translation>
    </message>
    <message>
        <source>取消</source>
        <translation>Отмена</translation>
    </message>
    <message>
        <source>确定</source>
        <translation>ОК</translation>
    </message>
    <message>
        <source>重试</source>
        <translation>Повторить</translation>
    </message>
</context>
<context>
    <name>UpgradeWindow</name>
    <message>
        <source>软件升级</source>
        <translation>Обновление программы</translation>
    </message>
    <message>
        <source>安装程序无法启动，请从下载页面获取最新版本</source>
        <translation>Не удалось запустить установщик. Скачайте последнюю версию со страницы загрузки</translation>
    </message>
    <message>
        <source>取消</source>
        <translation>Отмена</translation>
    </message>
    <message>
        <source>打开下载页面</source>
        <translation>Открыть страницу загрузки</translation>
    </message>
</context>
<context>
    <name>UrlField</name>
    <message>
        <source>请输入URL</source>
        <translation>Введите URL</translation>
    </message>
</context>
<context>
    <name>WelcomeLayout</name>
    <message>
        <source>正在下载最新固件</source>
        <translation>Загружается новая прошивка</translation>
    </message>
    <message>
        <source>新版本下载失败，请检查网络环境或稍后重试</source>
        <translation>Не удалось загрузить новую версию. Проверьте подключение к сети или повторите попытку позже</translation>
    </message>
    <message>
        <source>正在安装最新固件</source>
        <translation>Устанавливается новая прошивка</translation>
    </message>
    <message>
        <source>升级失败</source>
        <translation>Не удалось обновить</translation>
    </message>
    <message>
        <source>升级成功</source>
        <translation>Обновление завершено</translation>
    </message>
</context>
<context>
    <name>WelcomeView</name>
    <message>
        <source>VEXO 设备</source>
        <translation>Устройство VEXO</translation>
    </message>
    <message>
        <source>连接你的 VEXO 设备</source>
        <translation>Подключите устройство VEXO</translation>
    </message>
    <message>
        <source>Vexo Deck 可将你的兼容设备变身为强大中枢
支持低延迟混音，体验高清音质，享受每一次声音表达</source>
        <translation>Vexo Deck превращает совместимое устройство в мощный центр управления звуком.
Микширование с низкой задержкой, кристально чистый звук и свобода самовыражения.</translation>
    </message>
    <message>
        <source>已连接</source>
        <translation>Подключено</translation>
    </message>
    <message>
        <source>开启高清音质之旅</source>
        <translation>Начать</translation>
    </message>
</context>
<context>
    <name>WindowFrame</name>
    <message>
        <source>正在安装固件，现在退出会中断升级。确定要退出吗？</source>
        <translation>Идёт установка прошивки. Выход сейчас прервёт обновление. Всё равно выйти?</translation>
    </message>
</context>
</TS>
