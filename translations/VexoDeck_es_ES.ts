<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="es_ES" sourcelanguage="zh_CN">
<context>
    <name>AccessNotice</name>
    <message>
        <source>无法打开设备：请关闭正在使用它的程序，然后重新插拔设备</source>
        <translation>No se puede abrir el dispositivo: cierra el programa que lo usa y vuelve a conectarlo</translation>
    </message>
    <message>
        <source>没有设备的访问权限：请安装 udev 规则 70-vexo-deck.rules，然后重新插拔设备</source>
        <translation>Sin permiso de acceso al dispositivo: instala la regla udev 70-vexo-deck.rules y vuelve a conectarlo</translation>
    </message>
</context>
<context>
    <name>ApplicationUpdate</name>
    <message>
        <source>有新版本可升级，是否重启并升级软件？</source>
        <translation>Hay una nueva versión. ¿Reiniciar y actualizar ahora?</translation>
    </message>
    <message>
        <source>有新版本可升级，是否打开下载页面？</source>
        <translation>Hay una nueva versión. ¿Abrir la página de descarga?</translation>
    </message>
    <message>
        <source>VEXO Mixdesk R2 有新固件可升级，是否升级设备？</source>
        <translation>Hay nuevo firmware para VEXO Mixdesk R2. ¿Actualizar el dispositivo ahora?</translation>
    </message>
    <message>
        <source>正在检测更新</source>
        <translation>Buscando actualizaciones</translation>
    </message>
    <message>
        <source>新版本下载失败，请检查网络环境或稍后重试</source>
        <translation>No se pudo descargar la nueva versión. Comprueba la conexión o inténtalo más tarde</translation>
    </message>
    <message>
        <source>新版本</source>
        <translation>Nueva versión</translation>
    </message>
    <message>
        <source>下载完成，重新启动以进行升级</source>
        <translation>descargada, reinicia para actualizar</translation>
    </message>
    <message>
        <source>有新版本可升级</source>
        <translation>Hay una nueva versión</translation>
    </message>
    <message>
        <source>正在下载新版本</source>
        <translation>Descargando la nueva versión</translation>
    </message>
    <message>
        <source>当前已是最新版本</source>
        <translation>está actualizado</translation>
    </message>
    <message>
        <source>重试</source>
        <translation>Reintentar</translation>
    </message>
    <message>
        <source>立即更新</source>
        <translation>Actualizar ahora</translation>
    </message>
    <message>
        <source>检查更新</source>
        <translation>Buscar actualizaciones</translation>
    </message>
</context>
<context>
    <name>AudioBoost</name>
    <message>
        <source>防爆音</source>
        <translation>Antisaturación</translation>
    </message>
    <message>
        <source>用于限制音频信号的最大音量，开启后，动态控制话筒音量，防止突发爆音</source>
        <translation>Limita el nivel máximo del micrófono para evitar distorsiones por picos repentinos.</translation>
    </message>
    <message>
        <source>音频增强</source>
        <translation>Mejora de audio</translation>
    </message>
    <message>
        <source>原声</source>
        <translation>Acústico</translation>
    </message>
    <message>
        <source>播客</source>
        <translation>Pódcast</translation>
    </message>
    <message>
        <source>游戏</source>
        <translation>Juego</translation>
    </message>
    <message>
        <source>直播</source>
        <translation>Directo</translation>
    </message>
    <message>
        <source>自定义</source>
        <translation>Personalizado</translation>
    </message>
    <message>
        <source>AI降噪</source>
        <translation>Reducción de ruido IA</translation>
    </message>
    <message>
        <source>弱降噪可以在消除环境噪音的同时，保持高音质收音效果。强降噪可以更好的消除环境噪音，音质损失较弱降噪略大</source>
        <translation>El nivel leve reduce el ruido ambiental y conserva la calidad del sonido. El nivel fuerte lo reduce mejor, con una pérdida de calidad algo mayor.</translation>
    </message>
    <message>
        <source>弱降噪</source>
        <translation>Leve</translation>
    </message>
    <message>
        <source>强降噪</source>
        <translation>Fuerte</translation>
    </message>
    <message>
        <source>压缩器</source>
        <translation>Compresor</translation>
    </message>
    <message>
        <source>压缩器用于控制音频信号的动态范围，开启后，可避免音量过高导致失真或听感刺耳。</source>
        <translation>El compresor reduce el rango dinámico de la señal. Actívalo para que los sonidos fuertes no distorsionen ni resulten estridentes.</translation>
    </message>
    <message>
        <source>均衡器</source>
        <translation>Ecualizador</translation>
    </message>
    <message>
        <source>调节不同频率的音色，让你的声音更清晰、更有个性。</source>
        <translation>Ajusta las distintas frecuencias para que tu voz suene más clara y personal.</translation>
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
        <translation>Silenciar en el monitor</translation>
    </message>
    <message>
        <source>直播静音</source>
        <translation>Silenciar en el stream</translation>
    </message>
</context>
<context>
    <name>AutoGainWindow</name>
    <message>
        <source>自动增益</source>
        <translation>Ganancia automática</translation>
    </message>
    <message>
        <source>使用正常的音量讲话
倒计时 </source>
        <translation>Habla con un volumen normal
Quedan </translation>
    </message>
    <message>
        <source>设置成功
增益为 </source>
        <translation>Listo
Ganancia ajustada a </translation>
    </message>
    <message>
        <source>设置成功
增益为 0 dB</source>
        <translation>Listo
Ganancia ajustada a 0&#xa0;dB</translation>
    </message>
    <message>
        <source>取消</source>
        <translation>Cancelar</translation>
    </message>
    <message>
        <source>确定</source>
        <translation>Aceptar</translation>
    </message>
</context>
<context>
    <name>BootloaderNotice</name>
    <message>
        <source>新版本下载失败，请检查网络环境或稍后重试</source>
        <translation>No se pudo descargar la nueva versión. Comprueba la conexión o inténtalo más tarde</translation>
    </message>
    <message>
        <source>VEXO Mixdesk R2 的固件升级没有完成</source>
        <translation>La actualización del firmware del VEXO Mixdesk R2 no se completó</translation>
    </message>
    <message>
        <source>VEXO Mixdesk R2 的固件升级没有完成，缺少固件文件</source>
        <translation>La actualización del firmware del VEXO Mixdesk R2 no se completó y falta el archivo del firmware</translation>
    </message>
    <message>
        <source>取消</source>
        <translation>Cancelar</translation>
    </message>
    <message>
        <source>下载固件</source>
        <translation>Descargar el firmware</translation>
    </message>
    <message>
        <source>恢复</source>
        <translation>Restaurar</translation>
    </message>
</context>
<context>
    <name>ColorArea</name>
    <message>
        <source>色相和饱和度</source>
        <translation>Tono y saturación</translation>
    </message>
</context>
<context>
    <name>ColorPicker</name>
    <message>
        <source>选择颜色</source>
        <translation>Elegir color</translation>
    </message>
</context>
<context>
    <name>ConsentQuestion</name>
    <message>
        <source>是否与VEXO分享使用数据？</source>
        <translation>¿Compartir datos de uso con VEXO?</translation>
    </message>
    <message>
        <source>同意</source>
        <translation>Aceptar</translation>
    </message>
    <message>
        <source>不同意</source>
        <translation>Rechazar</translation>
    </message>
</context>
<context>
    <name>CustomColorSelect</name>
    <message>
        <source>选择颜色</source>
        <translation>Elegir color</translation>
    </message>
    <message>
        <source>重置</source>
        <translation>Restablecer</translation>
    </message>
</context>
<context>
    <name>CustomComAppBox</name>
    <message>
        <source>系统浏览器</source>
        <translation>Abrir navegador</translation>
    </message>
    <message>
        <source>请选择应用</source>
        <translation>Elige una aplicación</translation>
    </message>
</context>
<context>
    <name>CustomComAppPlus</name>
    <message>
        <source>没有正在播放声音的应用</source>
        <translation>Ninguna aplicación reproduce sonido</translation>
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
        <translation>Añadir color</translation>
    </message>
    <message>
        <source>删除颜色</source>
        <translation>Eliminar color</translation>
    </message>
    <message>
        <source>重置</source>
        <translation>Restablecer</translation>
    </message>
</context>
<context>
    <name>CustomMultColorSelect</name>
    <message>
        <source>渐变</source>
        <translation>Degradado</translation>
    </message>
    <message>
        <source>自定义</source>
        <translation>Personalizado</translation>
    </message>
    <message>
        <source>重置</source>
        <translation>Restablecer</translation>
    </message>
    <message>
        <source>选择颜色</source>
        <translation>Elegir color</translation>
    </message>
</context>
<context>
    <name>CustomerWindow</name>
    <message>
        <source>客服</source>
        <translation>Soporte técnico</translation>
    </message>
    <message>
        <source>联系我们</source>
        <translation>Contacto</translation>
    </message>
    <message>
        <source>周一到周日：9:00-12:00，13:00-18:00 (GMT+8)</source>
        <translation>De lunes a domingo: 9:00-12:00, 13:00-18:00 (GMT+8)</translation>
    </message>
    <message>
        <source>电话</source>
        <translation>Teléfono</translation>
    </message>
    <message>
        <source>企业微信（请扫码添加客服）</source>
        <translation>WeCom (escanea el código QR para añadir a atención al cliente)</translation>
    </message>
    <message>
        <source>邮箱</source>
        <translation>Correo electrónico</translation>
    </message>
    <message>
        <source>Support</source>
        <translation>Soporte</translation>
    </message>
    <message>
        <source>Mon to Sun.9:00-12:00,13:00-18:30 (GMT+8)</source>
        <translation>De lunes a domingo: 9:00-12:00, 13:00-18:30 (GMT+8)</translation>
    </message>
    <message>
        <source>Online Support</source>
        <translation>Soporte en línea</translation>
    </message>
    <message>
        <source>WhatsApp</source>
        <translation>WhatsApp</translation>
    </message>
    <message>
        <source>Email</source>
        <translation>Correo electrónico</translation>
    </message>
</context>
<context>
    <name>DeviceSettings</name>
    <message>
        <source>话筒</source>
        <translation>Micrófono</translation>
    </message>
    <message>
        <source>监听</source>
        <translation>Monitor</translation>
    </message>
    <message>
        <source>灯光</source>
        <translation>Iluminación</translation>
    </message>
    <message>
        <source>通用</source>
        <translation>General</translation>
    </message>
    <message>
        <source>设备设置</source>
        <translation>Ajustes del dispositivo</translation>
    </message>
    <message>
        <source>返回</source>
        <translation>Atrás</translation>
    </message>
</context>
<context>
    <name>DirectionRow</name>
    <message>
        <source>方向</source>
        <translation>Dirección</translation>
    </message>
    <message>
        <source>向左</source>
        <translation>A la izquierda</translation>
    </message>
    <message>
        <source>向右</source>
        <translation>A la derecha</translation>
    </message>
</context>
<context>
    <name>EqualizerNames</name>
    <message>
        <source>原声</source>
        <translation>Acústico</translation>
    </message>
    <message>
        <source>人声增强</source>
        <translation>Realce de voz</translation>
    </message>
    <message>
        <source>低切75Hz</source>
        <translation>Corte de graves 75&#xa0;Hz</translation>
    </message>
    <message>
        <source>低切150Hz</source>
        <translation>Corte de graves 150&#xa0;Hz</translation>
    </message>
    <message>
        <source>自定义</source>
        <translation>Personalizado</translation>
    </message>
    <message>
        <source>平坦</source>
        <translation>Plano</translation>
    </message>
    <message>
        <source>中频增强</source>
        <translation>Realce de medios</translation>
    </message>
    <message>
        <source>低中频增强</source>
        <translation>Realce de medios-graves</translation>
    </message>
</context>
<context>
    <name>EqualizerPresets</name>
    <message>
        <source>均衡器</source>
        <translation>Ecualizador</translation>
    </message>
    <message>
        <source>添加均衡器预设</source>
        <translation>Añadir preajuste de ecualizador</translation>
    </message>
</context>
<context>
    <name>EqualizerRow</name>
    <message>
        <source>关闭</source>
        <translation>Desactivado</translation>
    </message>
</context>
<context>
    <name>EqualizerWindow</name>
    <message>
        <source>均衡器</source>
        <translation>Ecualizador</translation>
    </message>
    <message>
        <source>调节不同频率的音色，让你的声音更清晰、更有个性。</source>
        <translation>Ajusta las distintas frecuencias para que tu voz suene más clara y personal.</translation>
    </message>
    <message>
        <source>拖动曲线上的点进行调节</source>
        <translation>Arrastra los puntos de la curva</translation>
    </message>
    <message>
        <source>删除</source>
        <translation>Eliminar</translation>
    </message>
</context>
<context>
    <name>FirmwareRow</name>
    <message>
        <source>正在检测更新</source>
        <translation>Buscando actualizaciones</translation>
    </message>
    <message>
        <source>有固件可升级</source>
        <translation>– actualización de firmware disponible</translation>
    </message>
    <message>
        <source>当前已是最新版本</source>
        <translation>está actualizado</translation>
    </message>
    <message>
        <source>立即更新</source>
        <translation>Actualizar ahora</translation>
    </message>
    <message>
        <source>检查更新</source>
        <translation>Buscar actualizaciones</translation>
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
        <translation>Frecuencia de muestreo</translation>
    </message>
    <message>
        <source>指示灯</source>
        <translation>Indicador</translation>
    </message>
</context>
<context>
    <name>HotkeyCard</name>
    <message>
        <source>热键</source>
        <translation>Atajo</translation>
    </message>
    <message>
        <source>旋钮按键</source>
        <translation>Doble pulsación del dial</translation>
    </message>
    <message>
        <source>当Vexo Deck 在后台运行时，双击旋钮可执行自定义功能。</source>
        <translation>Cuando Vexo Deck está en segundo plano, un doble toque en el dial ejecuta la función elegida.</translation>
    </message>
    <message>
        <source>系统截图</source>
        <translation>Captura de pantalla</translation>
    </message>
    <message>
        <source>系统录屏</source>
        <translation>Grabación de pantalla</translation>
    </message>
</context>
<context>
    <name>KeyField</name>
    <message>
        <source>请输入键位</source>
        <translation>Introduce una combinación</translation>
    </message>
    <message>
        <source>正在录制按键</source>
        <translation>Grabando teclas</translation>
    </message>
</context>
<context>
    <name>LightingBackground</name>
    <message>
        <source>背景</source>
        <translation>Fondo</translation>
    </message>
    <message>
        <source>声卡接电时显示背景灯光</source>
        <translation>Iluminación de fondo mientras el dispositivo recibe corriente</translation>
    </message>
    <message>
        <source>效果</source>
        <translation>Efecto</translation>
    </message>
    <message>
        <source>静态</source>
        <translation>Estático</translation>
    </message>
    <message>
        <source>呼吸</source>
        <translation>Respiración</translation>
    </message>
    <message>
        <source>波浪</source>
        <translation>Onda</translation>
    </message>
    <message>
        <source>关闭</source>
        <translation>Desactivado</translation>
    </message>
</context>
<context>
    <name>LightingIndicators</name>
    <message>
        <source>指示灯</source>
        <translation>Indicador</translation>
    </message>
    <message>
        <source>麦克风增益</source>
        <translation>Ganancia del micrófono</translation>
    </message>
    <message>
        <source>监听音量</source>
        <translation>Volumen del monitor</translation>
    </message>
    <message>
        <source>麦克风/电脑音量监听比</source>
        <translation>Mezcla micro/PC</translation>
    </message>
    <message>
        <source>静音</source>
        <translation>Silencio</translation>
    </message>
</context>
<context>
    <name>LightingInput</name>
    <message>
        <source>输入</source>
        <translation>Entrada</translation>
    </message>
    <message>
        <source>话筒输入时，根据音量大小动态显示</source>
        <translation>Sigue el volumen del micrófono</translation>
    </message>
</context>
<context>
    <name>LightingOther</name>
    <message>
        <source>其他</source>
        <translation>Otros</translation>
    </message>
    <message>
        <source>亮度</source>
        <translation>Brillo</translation>
    </message>
    <message>
        <source>关闭灯光</source>
        <translation>Apagar las luces</translation>
    </message>
    <message>
        <source>关闭显示屏时自动关灯</source>
        <translation>Apagar las luces al apagarse la pantalla</translation>
    </message>
    <message>
        <source>关闭RGB灯</source>
        <translation>Apagar las luces RGB</translation>
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
        <translation>Color sólido</translation>
    </message>
    <message>
        <source>幻彩</source>
        <translation>Degradado</translation>
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
        <translation>Color sólido</translation>
    </message>
    <message>
        <source>循环</source>
        <translation>Bucle</translation>
    </message>
    <message>
        <source>循环顺序</source>
        <translation>Orden del bucle</translation>
    </message>
</context>
<context>
    <name>LightingSub3</name>
    <message>
        <source>波浪</source>
        <translation>Onda</translation>
    </message>
</context>
<context>
    <name>LightnessBar</name>
    <message>
        <source>明度</source>
        <translation>Luminosidad</translation>
    </message>
</context>
<context>
    <name>MainSettings</name>
    <message>
        <source>输出</source>
        <translation>SALIDAS</translation>
    </message>
    <message>
        <source>直播</source>
        <translation>MEZCLA DE STREAM</translation>
    </message>
    <message>
        <source>监听</source>
        <translation>MEZCLA DE MONITOR</translation>
    </message>
    <message>
        <source>输入</source>
        <translation>ENTRADAS</translation>
    </message>
    <message>
        <source>添加应用</source>
        <translation>Añadir aplicación</translation>
    </message>
    <message>
        <source>点击添加正在播放声音的应用或话筒，单独调节它在直播和监听中的音量</source>
        <translation>Haz clic para añadir una aplicación que suene o un micrófono y ajustar su volumen en el stream y en el monitor</translation>
    </message>
</context>
<context>
    <name>MessageDialog</name>
    <message>
        <source>有新版本可升级,是否重启并升级软件?</source>
        <translation>Hay una nueva versión. ¿Reiniciar y actualizar ahora?</translation>
    </message>
    <message>
        <source>取消</source>
        <translation>Cancelar</translation>
    </message>
    <message>
        <source>立即升级</source>
        <translation>Actualizar ahora</translation>
    </message>
</context>
<context>
    <name>MicrophoneInput</name>
    <message>
        <source>自动增益</source>
        <translation>Ganancia automática</translation>
    </message>
    <message>
        <source>开启后，话筒音量将自动调节至最佳增益。</source>
        <translation>Al activarla, el micrófono se ajusta automáticamente a la ganancia óptima.</translation>
    </message>
    <message>
        <source>XLR输入</source>
        <translation>Entrada XLR</translation>
    </message>
    <message>
        <source>话筒</source>
        <translation>Micrófono</translation>
    </message>
    <message>
        <source>增益</source>
        <translation>Ganancia</translation>
    </message>
    <message>
        <source>提高增益，避免声音过小。
降低增益，避免声音失真。</source>
        <translation>Sube la ganancia si el sonido es demasiado bajo.
Baja la ganancia si el sonido distorsiona.</translation>
    </message>
    <message>
        <source>开始检测</source>
        <translation>Iniciar</translation>
    </message>
    <message>
        <source>静音</source>
        <translation>Silencio</translation>
    </message>
    <message>
        <source>48V幻象电源</source>
        <translation>Alimentación fantasma 48&#xa0;V</translation>
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
        <translation>Mezcla micro/PC</translation>
    </message>
    <message>
        <source>监听音量</source>
        <translation>Volumen del monitor</translation>
    </message>
</context>
<context>
    <name>MoreButton</name>
    <message>
        <source>更多</source>
        <translation>Más</translation>
    </message>
    <message>
        <source>帮助</source>
        <translation>Centro de ayuda</translation>
    </message>
    <message>
        <source>客服</source>
        <translation>Soporte técnico</translation>
    </message>
    <message>
        <source>设置</source>
        <translation>Ajustes</translation>
    </message>
</context>
<context>
    <name>MorePopup</name>
    <message>
        <source>更多</source>
        <translation>Más</translation>
    </message>
</context>
<context>
    <name>ResetRow</name>
    <message>
        <source>恢复出厂</source>
        <translation>Valores de fábrica</translation>
    </message>
</context>
<context>
    <name>ResetWindow</name>
    <message>
        <source>恢复出厂</source>
        <translation>Valores de fábrica</translation>
    </message>
    <message>
        <source>恢复出厂设置后，所有设置将恢复至默认状态，确定要恢复出厂设置吗？</source>
        <translation>Todos los ajustes volverán a los valores de fábrica. ¿Quieres continuar?</translation>
    </message>
    <message>
        <source>设置中</source>
        <translation>Restableciendo</translation>
    </message>
    <message>
        <source>成功</source>
        <translation>Listo</translation>
    </message>
    <message>
        <source>取消</source>
        <translation>Cancelar</translation>
    </message>
    <message>
        <source>确定</source>
        <translation>Aceptar</translation>
    </message>
</context>
<context>
    <name>SettingsWindow</name>
    <message>
        <source>设置</source>
        <translation>Ajustes</translation>
    </message>
    <message>
        <source>关于 Vexo Deck</source>
        <translation>Acerca de Vexo Deck</translation>
    </message>
    <message>
        <source>自动安装最新版本</source>
        <translation>Instalar actualizaciones automáticamente</translation>
    </message>
    <message>
        <source>如关闭自动安装，你仍会收到新版本提示，但需手动点击“立即升级”后才可升级</source>
        <translation>Si la instalación automática está desactivada, seguirás recibiendo avisos de nuevas versiones, pero tendrás que hacer clic en «Actualizar ahora» para actualizar</translation>
    </message>
    <message>
        <source>语言</source>
        <translation>Idioma</translation>
    </message>
    <message>
        <source>分析</source>
        <translation>Análisis</translation>
    </message>
    <message>
        <source>与VEXO分享使用数据</source>
        <translation>Compartir datos de uso con VEXO</translation>
    </message>
    <message>
        <source>隐私政策</source>
        <translation>Política de privacidad</translation>
    </message>
</context>
<context>
    <name>StripHead</name>
    <message>
        <source>删除</source>
        <translation>Eliminar</translation>
    </message>
    <message>
        <source>设备设置</source>
        <translation>Ajustes del dispositivo</translation>
    </message>
</context>
<context>
    <name>SwatchGrid</name>
    <message>
        <source>添加颜色</source>
        <translation>Añadir color</translation>
    </message>
</context>
<context>
    <name>ThresholdBlock</name>
    <message>
        <source>低</source>
        <translation>Bajo</translation>
    </message>
    <message>
        <source>中</source>
        <translation>Medio</translation>
    </message>
    <message>
        <source>高</source>
        <translation>Alto</translation>
    </message>
</context>
<context>
    <name>TitleBar</name>
    <message>
        <source>最小化</source>
        <translation>Minimizar</translation>
    </message>
    <message>
        <source>还原</source>
        <translation>Restaurar</translation>
    </message>
    <message>
        <source>最大化</source>
        <translation>Maximizar</translation>
    </message>
    <message>
        <source>关闭</source>
        <translation>Cerrar</translation>
    </message>
</context>
<context>
    <name>UpgradeView</name>
    <message>
        <source>请不要断开设备连接或关闭应用。
升级期间监听比灯亮属于正常自检，不会修改设置。</source>
        <translation>No desconectes el dispositivo ni cierres la aplicación.
Durante la actualización se enciende el indicador de mezcla micro/PC: es una autocomprobación y no cambia tus ajustes.</translation>
    </message>
    <message>
        <source>升级中，请不要断开设备连接或关闭应用</source>
        <translation>Actualizando. No desconectes el dispositivo ni cierres la aplicación</translation>
    </message>
    <message>
        <source>取消</source>
        <translation>Cancelar</translation>
    </message>
    <message>
        <source>确定</source>
        <translation>Aceptar</translation>
    </message>
    <message>
        <source>重试</source>
        <translation>Reintentar</translation>
    </message>
</context>
<context>
    <name>UpgradeWindow</name>
    <message>
        <source>软件升级</source>
        <translation>Actualización de software</translation>
    </message>
    <message>
        <source>安装程序无法启动，请从下载页面获取最新版本</source>
        <translation>No se pudo iniciar el instalador. Descarga la última versión desde la página de descarga</translation>
    </message>
    <message>
        <source>取消</source>
        <translation>Cancelar</translation>
    </message>
    <message>
        <source>打开下载页面</source>
        <translation>Abrir la página de descarga</translation>
    </message>
</context>
<context>
    <name>UrlField</name>
    <message>
        <source>请输入URL</source>
        <translation>Introduce una URL</translation>
    </message>
</context>
<context>
    <name>WelcomeLayout</name>
    <message>
        <source>正在下载最新固件</source>
        <translation>Descargando el firmware más reciente</translation>
    </message>
    <message>
        <source>新版本下载失败，请检查网络环境或稍后重试</source>
        <translation>No se pudo descargar la nueva versión. Comprueba la conexión o inténtalo más tarde</translation>
    </message>
    <message>
        <source>正在安装最新固件</source>
        <translation>Instalando el firmware más reciente</translation>
    </message>
    <message>
        <source>升级失败</source>
        <translation>Error al actualizar</translation>
    </message>
    <message>
        <source>升级成功</source>
        <translation>Actualización completada</translation>
    </message>
</context>
<context>
    <name>WelcomeView</name>
    <message>
        <source>VEXO 设备</source>
        <translation>Dispositivo VEXO</translation>
    </message>
    <message>
        <source>连接你的 VEXO 设备</source>
        <translation>Conecta tu dispositivo VEXO</translation>
    </message>
    <message>
        <source>Vexo Deck 可将你的兼容设备变身为强大中枢
支持低延迟混音，体验高清音质，享受每一次声音表达</source>
        <translation>Vexo Deck convierte tu dispositivo compatible en un potente centro de control.
Mezcla con baja latencia, sonido cristalino y libertad para expresarte.</translation>
    </message>
    <message>
        <source>已连接</source>
        <translation>Conectado</translation>
    </message>
    <message>
        <source>开启高清音质之旅</source>
        <translation>Empezar</translation>
    </message>
</context>
<context>
    <name>WindowFrame</name>
    <message>
        <source>正在安装固件，现在退出会中断升级。确定要退出吗？</source>
        <translation>Se está instalando el firmware. Si sales ahora, se interrumpirá la actualización. ¿Salir de todos modos?</translation>
    </message>
</context>
</TS>
